#include "vfs/store/folder_state.h"

#include <map>
#include <random>

#include "vfs_store_fixture.h"

namespace mrb::vfs {
namespace {

using Files = std::map<std::string, std::string>;

class FolderStateTest : public test::StoreFixture {
 protected:
  /// Loads, or loads again, a store whose clock is the test's.
  void open() {
    shared_.reset();
    StoreSetup set = setup();
    set.now = [this] { return now(); };
    shared_ = std::make_shared<VersionStore>(std::move(set));
    ASSERT_TRUE(shared_->ingest());
    shared_->set_author("ann");
  }

  VersionStamp now() const {
    return {2026, 11, 1 + minute_ / 1440, minute_ / 60 % 24, minute_ % 60, 0};
  }

  Files state_at(const std::string& folder, const std::optional<VersionStamp>& moment) {
    Files files;
    const auto state = StateOf(shared_, folder, moment);
    EXPECT_TRUE(state);
    if (!state) return files;
    for (const auto& file : state->files) files[file.path] = file.bytes.bytes();
    return files;
  }

  std::uint32_t minute_ = 0;
  std::shared_ptr<VersionStore> shared_;
};

TEST_F(FolderStateTest, EqualsWhatWasThere) {
  open();
  std::mt19937 random(11);
  Files live;
  std::map<std::uint32_t, Files> past;
  const char* const names[] = {"f", "d/a", "d/b", "d/e/c"};
  for (minute_ = 1; minute_ < 400; ++minute_) {
    const std::string name = names[random() % std::size(names)];
    File* file = shared_->find(name);
    const unsigned action = random() % 8;
    if (action == 0 && live.contains(name)) {
      ASSERT_TRUE(shared_->remove(file)) << shared_->message();
      live.erase(name);
    } else if (action == 1 && live.contains(name)) {
      const std::string target = names[random() % std::size(names)];
      if (!live.contains(target)) {
        ASSERT_TRUE(shared_->move(file, target)) << shared_->message();
        live[target] = live[name];
        live.erase(name);
      }
    } else {
      File& saved = shared_->touch(name);
      saved.content = Blob::copy_of(std::to_string(minute_));
      ASSERT_TRUE(shared_->check_in(&saved, false)) << shared_->message();
      live[name] = std::to_string(minute_);
    }
    past[minute_] = live;
  }
  open();  // and of the older versions only the mirror is left
  EXPECT_EQ(state_at("", {}), live);
  for (const auto& [minute, files] : past) {
    if (minute % 40 != 7) continue;
    minute_ = minute;
    ASSERT_EQ(state_at("", now()), files) << minute;
    Files in_folder;
    for (const auto& [name, text] : files) {
      if (name.starts_with("d/")) in_folder[name.substr(2)] = text;
    }
    ASSERT_EQ(state_at("d", now()), in_folder) << minute;
  }
}

}  // namespace
}  // namespace mrb::vfs
