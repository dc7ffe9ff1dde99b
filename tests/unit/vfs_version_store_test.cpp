#include <random>

#include "vfs_store_fixture.h"

namespace mrb::vfs::test {
namespace {

using VersionStoreTest = StoreFixture;

TEST_F(VersionStoreTest, MirrorsWhatItFindsAndArchivesWhatItReplaces) {
  put("d/f", "one");
  ASSERT_TRUE(load());
  EXPECT_EQ(in_mirror("d/f"), "one");
  ASSERT_TRUE(save("d/f", "two"));
  ASSERT_TRUE(save("d/f", "two"));
  EXPECT_EQ(chain("d/f"), "1=one 2=two");
  EXPECT_EQ(on_disk("d/f"), "two");
  EXPECT_EQ(in_mirror("d/f"), "two");
  EXPECT_EQ(in_mirror("d/.f.oldversions/f.xx1"), "one");
  ASSERT_TRUE(load());
  EXPECT_EQ(chain("d/f"), "1=one 2=two");
  EXPECT_EQ(store_->find("d/f")->author.text(), "ann");
  EXPECT_EQ(store_->find("d/f")->history[0].author.text(), "outside");
}

TEST_F(VersionStoreTest, DeletesAreTombstonesThatComeBack) {
  ASSERT_TRUE(load());
  ASSERT_TRUE(save("f", "one"));
  ASSERT_TRUE(store_->remove(store_->find("f")));
  ASSERT_TRUE(store_->remove(store_->find("f")));
  EXPECT_EQ(chain("f"), "1=one 2=x");
  EXPECT_EQ(on_disk("f"), std::nullopt);
  EXPECT_EQ(in_mirror("f.tombstone"), "one");
  ASSERT_TRUE(load());
  ASSERT_TRUE(store_->restore(store_->find("f")));
  EXPECT_EQ(chain("f"), "1=one 2=x 3=one");
  EXPECT_EQ(on_disk("f"), "one");
  EXPECT_EQ(in_mirror("f"), "one");
  ASSERT_TRUE(store_->revert(store_->find("f"), 1));
  EXPECT_EQ(chain("f"), "1=one 2=x 3=one");  // the newest bytes already
  EXPECT_FALSE(store_->revert(store_->find("f"), 2));
  EXPECT_FALSE(store_->revert(store_->find("f"), 9));
  EXPECT_EQ(store_->message(), "no such version");
}

TEST_F(VersionStoreTest, TheFirstEditOfAnEditedScopeArchivesWhatWasThere) {
  policy_.scope = Policy::Scope::kEdited;
  put("f", "one");
  put("g", "never edited");
  ASSERT_TRUE(load());
  EXPECT_FALSE(fs::exists(folder_.path("mirror") + "/f"));
  ASSERT_TRUE(save("f", "two"));
  EXPECT_EQ(in_mirror(".f.oldversions/f.xx1"), "one");
  ASSERT_TRUE(save("f", "three"));
  ASSERT_TRUE(store_->remove(store_->find("g")));
  ASSERT_TRUE(load());
  EXPECT_EQ(chain("f"), "1=one 2=two 3=three");
  EXPECT_EQ(chain("g"), "1=never edited 2=x");
}

TEST_F(VersionStoreTest, OnlyTheNewestSixtyFourArchivedVersionsAreHeld) {
  ASSERT_TRUE(load());
  for (int i = 1; i <= 71; ++i) ASSERT_TRUE(save("f", "text " + std::to_string(i)));
  ASSERT_TRUE(load());
  EXPECT_EQ(store_->find("f")->history.size(), 65U);
  EXPECT_EQ(store_->find("f")->version, 71U);
  EXPECT_EQ(warnings_,
            "warning: 'f' has 70 archived versions; loading the most recent 64 into RAM (older "
            "remain on disk)\n");
  EXPECT_EQ(store_->version_bytes(*store_->find("f"), 3)->bytes(), "text 3");
  ASSERT_TRUE(store_->move(store_->find("f"), "g"));
  ASSERT_TRUE(load());
  EXPECT_EQ(store_->version_bytes(*store_->find("g"), 3)->bytes(), "text 3");
  EXPECT_EQ(store_->find("g")->version, 71U);
}

TEST_F(VersionStoreTest, LocksAreRespectedUnlessTheSaveIsDirty) {
  ASSERT_TRUE(load());
  ASSERT_TRUE(save("f", "one"));
  store_->set_author("bob");
  EXPECT_EQ(store_->toggle_lock(*store_->find("f")), true);
  store_->set_author("ann");
  EXPECT_EQ(store_->toggle_lock(*store_->find("f")), std::nullopt);
  EXPECT_FALSE(save("f", "two"));
  EXPECT_EQ(store_->message(), "file is locked (bob)");
  EXPECT_FALSE(store_->remove(store_->find("f")));
  EXPECT_EQ(on_disk("f"), "one");
  ASSERT_TRUE(save("f", "two", true));
  EXPECT_EQ(store_->message(), "dirty check-in over bob's lock — merge required (both parties)");
  store_->set_author("bob");
  ASSERT_TRUE(save("f", "three"));
  EXPECT_EQ(store_->message(), "merge required (file was flagged dirty by an earlier op)");
  EXPECT_EQ(store_->toggle_lock(*store_->find("f")), false);
}

TEST_F(VersionStoreTest, RefusesWhatIsNoFileOfTheUsers) {
  ASSERT_TRUE(load());
  for (const std::string path : {"a.tmp$", "b.tombstone", "c.oldversions", "d.oldversions/e"}) {
    EXPECT_FALSE(save(path, "x"));
    EXPECT_EQ(store_->message(), "reserved name: '" + path +
                                     "' uses a machinery suffix (.tombstone / .tmp$ / "
                                     ".oldversions)");
  }
  Directory folder("d");
  EXPECT_FALSE(store_->check_in(&folder, false));
  EXPECT_EQ(store_->message(), "not a file");
  ASSERT_TRUE(save("turnlog-1", "x"));
  EXPECT_FALSE(fs::exists(folder_.path("mirror") + "/turnlog-1"));
}

TEST_F(VersionStoreTest, ANameMayBeAFileAFolderAndAFileAgain) {
  ASSERT_TRUE(load());
  ASSERT_TRUE(save("n", "file"));
  erase("n");
  put("n/inner", "inside");
  store_->reconcile();
  EXPECT_EQ(chain("n"), "1=file 2=x");
  EXPECT_EQ(chain("n/inner"), "1=inside");
  fs::remove_all(folder_.path("tree") + "/n");
  put("n", "again");
  store_->reconcile();
  EXPECT_EQ(chain("n"), "1=file 2=x 3=again");
  ASSERT_TRUE(save("n", "more"));
  ASSERT_TRUE(load());
  EXPECT_EQ(chain("n"), "1=file 2=x 3=again 4=more");
  EXPECT_EQ(chain("n/inner"), "1=inside 2=x");
}

TEST_F(VersionStoreTest, ARootThatGoesAwayAndComesBackHasLostNothing) {
  put("f", "one");
  ASSERT_TRUE(load());
  fs::rename(folder_.path("tree"), folder_.path("elsewhere"));
  store_->reconcile();
  EXPECT_EQ(chain("f"), "1=one");
  fs::rename(folder_.path("elsewhere"), folder_.path("tree"));
  put("f", "two");
  store_->reconcile();
  EXPECT_EQ(chain("f"), "1=one 2=two");
}

TEST_F(VersionStoreTest, ASaveFromOutsideIsAVersionBeforeOursReplacesIt) {
  ASSERT_TRUE(load());
  ASSERT_TRUE(save("f", "ours"));
  put("f", "theirs, unseen");
  ASSERT_TRUE(save("f", "ours again"));
  EXPECT_EQ(chain("f"), "1=ours 2=theirs, unseen 3=ours again");
}

TEST_F(VersionStoreTest, AFillThatWasCutOffIsDoneAgain) {
  put("a", "one");
  put("b", "two");
  ASSERT_TRUE(load());
  // As a crash in the middle of it leaves it: a torn copy, no journal, the mark.
  fs::remove(folder_.path("mirror") + "/.oldversions/journal.jsonl");
  std::ofstream(folder_.path("mirror") + "/a") << "o";
  std::ofstream(folder_.path("mirror") + "/.oldversions/filling").flush();
  ASSERT_TRUE(load());
  EXPECT_EQ(chain("a"), "1=one");
  EXPECT_EQ(in_mirror("a"), "one");
  EXPECT_FALSE(fs::exists(folder_.path("mirror") + "/.oldversions/filling"));
}

/// What a store should hold, the obvious way.
class Model {
 public:
  using Version = std::pair<std::uint32_t, std::optional<std::string>>;

  void save(const std::string& path, const std::string& text) {
    std::vector<Version>& chain = chains_[path];
    if (lives(path) && chain.back().second == text) return;
    chain.emplace_back(chain.empty() ? 1 : chain.back().first + 1, text);
  }
  void save_outside(const std::string& path, const std::string& text) {
    std::vector<Version>& chain = chains_[path];
    if (!chain.empty() && !lives(path) && newest(path) == text) {
      chain.pop_back();
    } else {
      save(path, text);
    }
  }
  void remove(const std::string& path) {
    if (lives(path)) chains_[path].emplace_back(chains_[path].back().first + 1, std::nullopt);
  }
  void restore(const std::string& path) {
    if (chains_[path].empty() || lives(path)) return;
    chains_[path].emplace_back(chains_[path].back().first + 1, newest(path));
  }
  void move(const std::string& from, const std::string& to) {
    const std::uint32_t offset = chains_[to].empty() ? 0 : chains_[to].back().first;
    for (const auto& [version, text] : std::vector<Version>(chains_[from])) {
      chains_[to].emplace_back(version + offset, text);
    }
    remove(from);
  }
  bool lives(const std::string& path) {
    return !chains_[path].empty() && chains_[path].back().second.has_value();
  }
  std::optional<std::string> newest(const std::string& path) {
    for (auto at = chains_[path].rbegin(); at != chains_[path].rend(); ++at) {
      if (at->second) return at->second;
    }
    return std::nullopt;
  }
  std::string chain(const std::string& path) {
    std::string text;
    for (const auto& [version, bytes] : chains_[path]) {
      if (!text.empty()) text += ' ';
      text += std::to_string(version) + "=" + bytes.value_or("x");
    }
    return text;
  }

 private:
  std::map<std::string, std::vector<Version>> chains_;
};

TEST_F(VersionStoreTest, AgreesWithAnObviousModelAcrossReloads) {
  const unsigned seed = std::random_device{}();
  std::mt19937 random(seed);
  Model model;
  ASSERT_TRUE(load());
  const std::vector<std::string> paths{"a", "b", "d/c", "d/e"};
  for (int step = 0; step < 300; ++step) {
    const std::string& path = paths[random() % paths.size()];
    const std::string& other = paths[random() % paths.size()];
    const std::string text = "text" + std::to_string(random() % 4);
    File* file = store_->find(path);
    const auto what = random() % 9;
    switch (what) {
      case 0:
      case 1:
        ASSERT_TRUE(save(path, text));
        model.save(path, text);
        break;
      case 2:
        put(path, text);
        store_->reconcile();
        model.save_outside(path, text);
        break;
      case 3:
        erase(path);
        store_->reconcile();
        model.remove(path);
        break;
      case 4:
        if (file == nullptr) continue;
        ASSERT_TRUE(store_->remove(file));
        model.remove(path);
        break;
      case 5:
        if (model.newest(path) == std::nullopt) continue;
        ASSERT_TRUE(store_->restore(file));
        model.restore(path);
        break;
      case 6:
        if (!model.lives(path) || model.lives(other) || path == other) continue;
        ASSERT_TRUE(store_->move(file, other)) << store_->message();
        model.move(path, other);
        break;
      case 7:
        if (!model.lives(path)) continue;
        ASSERT_TRUE(store_->copy(file, other)) << store_->message();
        model.save(other, model.newest(path).value_or(""));
        break;
      default:
        if (random() % 2 == 0) put(path, text), model.save_outside(path, text);  // unseen till then
        ASSERT_TRUE(load());
    }
    for (const std::string& each : paths) {
      // A reload keeps the newest 64 archived versions and the current one; later steps may take
      // some back.
      const bool cut = store_->find(each) != nullptr && store_->find(each)->history.size() >= 50;
      const std::string whole = model.chain(each);
      const std::string held = chain(each);
      ASSERT_TRUE(cut ? whole.ends_with(held) : held == whole)
          << each << " is " << held << "\nand not " << whole << "\nafter " << what << " on " << path
          << ", step " << step << ", seed " << seed;
      ASSERT_EQ(on_disk(each), model.lives(each) ? model.newest(each) : std::nullopt) << each;
    }
  }
}

}  // namespace
}  // namespace mrb::vfs::test
