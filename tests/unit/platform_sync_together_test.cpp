#include "platform/sync_all.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/faulty_files.h"
#include "temp_folder.h"

namespace mrb::platform {
namespace {

/// Counts its flushes, and fails them when told to.
class CountedFile : public OpenFile {
 public:
  explicit CountedFile(std::string failure = {}) : failure_(std::move(failure)) {}
  Result<std::uint64_t> size() override { return 0; }
  Result<std::size_t> read_at(std::uint64_t, char*, std::size_t) override { return 0; }
  Status append(std::string_view) override { return {}; }
  Status truncate(std::uint64_t) override { return {}; }
  Status sync() override {
    ++count;
    if (!failure_.empty()) return Fail(ErrorKind::kIo, failure_);
    return {};
  }

  std::atomic<int> count = 0;

 private:
  std::string failure_;
};

TEST(SyncTogetherTest, FlushesEachOnceFromManyThreadsAndNamesTheFirstFailure) {
  const test::TempFolder folder;
  const auto flush_often = [&folder] {
    for (int i = 0; i < 200; ++i) {
      CountedFile good;
      CountedFile bad("first");
      CountedFile worse("second");
      EXPECT_TRUE(SyncAll(SystemFiles(), std::vector<SyncTarget>{&good, folder.path()}));
      const std::vector<SyncTarget> all{&good, &bad, &worse, &good};
      EXPECT_EQ(SyncAll(SystemFiles(), std::span(all).first(3)).error().text, "first");
      EXPECT_EQ(good.count + bad.count + worse.count, 4);
    }
  };
  std::thread other(flush_often);
  std::thread third(flush_often);
  flush_often();
  other.join();
  third.join();
  EXPECT_TRUE(SyncAll(SystemFiles(), {}));
}

TEST(SyncTogetherTest, CountsInOrderUnderInjectedFaults) {
  const test::TempFolder folder;
  for (std::uint64_t n = 1; n <= 3; ++n) {
    FaultyFiles files(SystemFiles());
    auto first = files.open(folder.path("1"), FileSystem::OpenMode::kReplace).value();
    auto second = files.open(folder.path("2"), FileSystem::OpenMode::kReplace).value();
    files.reset();
    files.fail_at(n);
    const std::vector<SyncTarget> targets{first.get(), second.get(), folder.path()};
    const std::vector<std::string> places{folder.path("1"), folder.path("2"), folder.path()};
    EXPECT_EQ(SyncAll(files, targets).error().text, "injected fault at " + places[n - 1]);
    EXPECT_EQ(files.operations(), 3U);
  }
}

TEST(SyncTogetherTest, AVolumeFlushKeepsWhatWasWrittenBefore) {
  const test::TempFolder folder;
  FaultyFiles files(SystemFiles());
  const auto file = files.open(folder.path("file"), FileSystem::OpenMode::kReplace).value();
  ASSERT_TRUE(file->append("kept "));
  const Status synced = files.sync_volume(folder.path());
  ASSERT_TRUE(file->append("lost"));
  files.lose_unsynced();
  // A system without it says so, and then nothing counts as flushed.
  ASSERT_TRUE(synced || synced.error().kind == ErrorKind::kUnavailable);
  EXPECT_EQ(ReadFile(SystemFiles(), folder.path("file")), synced ? "kept " : "");
}

}  // namespace
}  // namespace mrb::platform
