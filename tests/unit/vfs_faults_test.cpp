#include <functional>
#include <set>

#include "platform/paths.h"
#include "vfs_store_fixture.h"

namespace mrb::vfs::test {
namespace {

/// A script of changes is run once for every file operation that it makes, each time with that one
/// failing, or with the process dying at it. Whatever had been answered OK by then must be there
/// after a reload, byte for byte.
class VersionStoreFaultsTest : public StoreFixture {
 protected:
  /// Remembers every version that the store says it has.
  void note(const std::string& path) {
    const File* file = store_->find(path);
    if (file == nullptr || file->history.empty()) return;
    for (const VersionRecord& record : file->history) {
      if (record.tombstone) continue;
      promised_[path][record.version] = record.bytes.bytes();
      newest_[path] = record.version;
    }
  }

  void step(const std::string& path, const std::function<bool()>& run) {
    if (run()) note(path);
  }

  void run_script() {
    step("a", [&] { return save("a", "a1"); });
    step("a", [&] { return save("a", "a2"); });
    step("a", [&] { return store_->remove(store_->find("a")); });
    step("a", [&] { return store_->restore(store_->find("a")); });
    step("a", [&] { return save("a", "a5"); });
    step("a", [&] { return store_->revert(store_->find("a"), 1); });
    step("d/b", [&] { return save("d/b", "b1"); });
    step("d/b", [&] { return store_->remove(store_->find("d/b")); });
    step("d/b", [&] { return save("d/b", "b3"); });
    step("d/b", [&] { return store_->remove(store_->find("d/b")); });
    step("d/b", [&] { return store_->move(store_->find("a"), "d/b"); });
    note("a");
    put("c", "from outside");
    store_->reconcile();
    note("c");
    erase("c");
    store_->reconcile();
    note("c");
    over_outside_save("e1", [&] { return save("e1", "ours"); });
    over_outside_save("e2", [&] { return store_->remove(store_->find("e2")); });
    over_outside_save("e3", [&] { return store_->revert(store_->find("e3"), 1); });
    over_outside_save("e4", [&] { return store_->move(store_->find("e4"), "e5"); });
  }

  /// Runs a step on a file that another program saved since the store last saw it.
  void over_outside_save(const std::string& path, const std::function<bool()>& run) {
    put(path, "first");
    store_->reconcile();
    note(path);
    if (store_->find(path) == nullptr) return;
    put(path, "unseen in " + path);
    unseen_.insert("unseen in " + path);
    step(path, run);
  }

  void check(const std::string& story) {
    files_.reset();
    ASSERT_TRUE(load()) << story;
    for (const auto& [path, versions] : promised_) {
      const File* file = store_->find(path);
      ASSERT_NE(file, nullptr) << path << " " << story;
      for (const auto& [version, bytes] : versions) {
        const auto held = store_->version_bytes(*file, version);
        ASSERT_TRUE(held.has_value()) << path << " v" << version << " " << story;
        EXPECT_EQ(held->bytes(), bytes) << path << " v" << version << " " << story;
      }
      EXPECT_GE(file->version, newest_[path]) << path << " " << story;
    }
    for (const auto& file : store_->table().files()) {
      for (const VersionRecord& record : file->history) {
        unseen_.erase(std::string(record.bytes.bytes()));
      }
    }
    EXPECT_TRUE(unseen_.empty()) << *unseen_.begin() << " is lost " << story;
    for (const auto& file : store_->table().files()) {
      std::uint32_t last = 0;
      for (const VersionRecord& record : file->history) EXPECT_GT(record.version, last) << story;
      const auto disk = on_disk(file->name);
      EXPECT_EQ(disk.has_value(), !file->is_gone()) << file->name << " " << story;
      if (disk && !file->is_gone()) {
        EXPECT_EQ(*disk, file->history.back().bytes.bytes()) << file->name << " " << story;
      }
    }
    const std::string before = chain("a") + chain("d/b") + chain("c");
    ASSERT_TRUE(load()) << story;
    EXPECT_EQ(chain("a") + chain("d/b") + chain("c"), before) << "not settled " << story;
  }

  /// File operations cost ten times as much on Windows, and the store's part of them is the same.
  static std::uint64_t stride() {
    return platform::SystemPathStyle() == platform::PathStyle::kWindows ? 5 : 1;
  }

  void start_over() {
    store_.reset();
    for (const char* part : {"tree", "mirror"}) fs::remove_all(folder_.path(part));
    fs::create_directories(folder_.path("tree"));
    promised_.clear();
    newest_.clear();
    unseen_.clear();
    files_.reset();
    ASSERT_TRUE(load());
  }

  std::map<std::string, std::map<std::uint32_t, std::string>> promised_;
  std::map<std::string, std::uint32_t> newest_;
  std::set<std::string> unseen_;  ///< what another program saved, and a step then wrote over
};

TEST_F(VersionStoreFaultsTest, NothingAnsweredIsLostWhicheverOperationFails) {
  start_over();
  files_.reset();
  run_script();
  const std::uint64_t operations = files_.operations();
  ASSERT_GT(operations, 100U);
  for (std::uint64_t n = 1; n <= operations && !HasFailure(); n += stride()) {
    start_over();
    files_.fail_at(n);
    run_script();
    check("operation " + std::to_string(n) + " failed");
  }
}

TEST_F(VersionStoreFaultsTest, NothingAnsweredIsLostWhereverTheProcessDies) {
  start_over();
  files_.reset();
  run_script();
  const std::uint64_t operations = files_.operations();
  for (std::uint64_t n = 1; n <= operations && !HasFailure(); n += stride()) {
    start_over();
    files_.crash_at(n);
    run_script();
    files_.lose_unsynced();
    check("died at operation " + std::to_string(n));
  }
}

}  // namespace
}  // namespace mrb::vfs::test
