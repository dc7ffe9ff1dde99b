#include "vfs/mirror/stat_cache.h"

#include <functional>
#include <vector>

#include "vfs/mirror/mirror_layout.h"
#include "vfs_store_fixture.h"

namespace mrb::vfs::test {
namespace {

constexpr std::string_view kBoot = "this start";

class StatCacheTest : public StoreFixture {
 protected:
  StoreSetup with_boot() {
    StoreSetup with = setup();
    with.boot_id = kBoot;
    return with;
  }

  std::string path_in(const std::string& folder) {
    return (fs::path(folder_.path(folder)) / "a").string();
  }

  /// One version of "a", and a copy of it that holds other bytes; how the two look.
  StatEntry disagreeing_copy() {
    fs::remove_all(folder_.path("mirror"));
    put("a", "one");
    EXPECT_TRUE(load());
    store_.reset();
    std::ofstream(path_in("mirror"), std::ios::binary) << "two";
    return {1, *files_.status(path_in("tree")), *files_.status(path_in("mirror"))};
  }

  static std::string file_of(const StatEntry& entry, std::string_view boot = kBoot) {
    StatCache cache;
    cache.add("a", entry);
    return cache.write(boot);
  }

  /// The number of versions of "a" after a start that finds `cache`.
  std::size_t versions_with(const std::string& cache) {
    std::ofstream(MirrorLayout(folder_.path("mirror")).stat_cache(), std::ios::binary) << cache;
    VersionStore store(with_boot());
    EXPECT_TRUE(store.ingest().has_value());
    const auto guard = store.lock();
    return store.find("a")->history.size();
  }
};

TEST_F(StatCacheTest, IsBelievedOnlyWhenEverythingFits) {
  EXPECT_EQ(versions_with(file_of(disagreeing_copy())), 1U);
  const std::vector<std::function<std::string(StatEntry)>> unfit{
      [](StatEntry entry) { return ++entry.version, file_of(entry); },
      [](StatEntry entry) { return ++entry.working.changed_ns, file_of(entry); },
      [](StatEntry entry) { return ++entry.working.file_id, file_of(entry); },
      [](StatEntry entry) { return ++entry.copy.changed_ns, file_of(entry); },
      [](StatEntry entry) { return file_of(entry, "another start"); },
      [](StatEntry entry) { return file_of(entry).substr(0, 40); },
      [](StatEntry entry) {
        std::string damaged = file_of(entry);
        damaged[damaged.size() / 2] = static_cast<char>(damaged[damaged.size() / 2] ^ 1);
        return damaged;
      },
      [](const StatEntry&) { return std::string(); },
  };
  for (std::size_t i = 0; i < unfit.size(); ++i) {
    EXPECT_EQ(versions_with(unfit[i](disagreeing_copy())), 2U) << i;
  }
}

TEST_F(StatCacheTest, LeavesOutWhatMayStillChangeUnseen) {
  put("a", "one");
  VersionStore store(with_boot());
  ASSERT_TRUE(store.ingest().has_value());
  ASSERT_TRUE(store.save_stat_cache().has_value());
  const std::string bytes =
      bytes_of(MirrorLayout(folder_.path("mirror")).stat_cache()).value_or("");
  const auto written = StatCache::read(bytes, kBoot);
  // There is one, and without the file: that is younger than a clock's grain.
  EXPECT_TRUE(written && written->empty());
}

}  // namespace
}  // namespace mrb::vfs::test
