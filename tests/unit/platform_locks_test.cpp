#include <gtest/gtest.h>

#include <optional>
#include <utility>

#include "platform/file_lock.h"
#include "platform/process.h"
#include "temp_folder.h"

namespace mrb::platform {
namespace {

TEST(FileLockTest, OneHolderAtATimeAndItsNoteIsReadable) {
  const test::TempFolder folder;
  const std::string path = folder.path("lock");
  EXPECT_EQ(FileLock::read_note(path), "");
  std::optional<FileLock> lock = FileLock::try_acquire(path).value();
  ASSERT_TRUE(lock->write_note("process 123456"));
  ASSERT_TRUE(lock->write_note("process 7"));
  EXPECT_EQ(FileLock::read_note(path), "process 7");

  const auto second = FileLock::try_acquire(path);
  ASSERT_FALSE(second);
  EXPECT_EQ(second.error().kind, ErrorKind::kBusy);

  {
    const std::optional<FileLock> moved = std::move(lock);
    EXPECT_FALSE(FileLock::try_acquire(path));
  }
  EXPECT_TRUE(FileLock::try_acquire(path));
  EXPECT_EQ(FileLock::read_note(path), "process 7");  // the file stays
}

TEST(FileLockTest, AMissingFolderIsNotFound) {
  const test::TempFolder folder;
  const auto lock = FileLock::try_acquire(folder.path("no/lock"));
  ASSERT_FALSE(lock);
  EXPECT_EQ(lock.error().kind, ErrorKind::kNotFound);
}

TEST(SingleInstanceTest, OnePerPortUntilItEnds) {
  // Ports that no resident uses, and no other run of this test at the same time.
  const auto port = -static_cast<std::int32_t>(ProcessId() % 1'000'000) - 1;
  std::optional<SingleInstance> first = SingleInstance::acquire(port);
  EXPECT_TRUE(first->held());
  EXPECT_FALSE(SingleInstance::acquire(port).held());
  EXPECT_TRUE(SingleInstance::acquire(port - 1'000'000).held());
  first.reset();
  EXPECT_TRUE(SingleInstance::acquire(port).held());
}

}  // namespace
}  // namespace mrb::platform
