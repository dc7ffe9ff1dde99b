#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "platform/faulty_files.h"
#include "temp_folder.h"
#include "vfs/store/version_store.h"

namespace mrb::vfs::test {

namespace fs = std::filesystem;

/// A tree, its mirror, and a store over them that can be dropped and loaded again.
class StoreFixture : public testing::Test {
 protected:
  StoreFixture() { fs::create_directories(folder_.path("tree")); }

  StoreSetup setup() {
    StoreSetup setup;
    setup.files = &files_;
    setup.disk_root = folder_.path("tree");
    setup.mirror_root = folder_.path("mirror");
    setup.policy = policy_;
    setup.settle = {};
    setup.now = [] { return VersionStamp{2026, 11, 23, 10, 0, 0}; };
    setup.outside_author = [] { return std::string("outside"); };
    setup.warn = [this](std::string_view line) { warnings_ += line; };
    return setup;
  }

  /// False when the tree or the mirror could not be read.
  bool load() {
    store_ = std::make_unique<VersionStore>(setup());
    const bool read = store_->ingest().has_value();
    store_->set_author("ann");
    return read;
  }

  void put(const std::string& path, const std::string& text) {
    const fs::path target = fs::path(folder_.path("tree")) / path;
    fs::create_directories(target.parent_path());
    std::ofstream(target, std::ios::binary) << text;
  }
  void erase(const std::string& path) { fs::remove(fs::path(folder_.path("tree")) / path); }

  static std::optional<std::string> bytes_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
  }
  std::optional<std::string> on_disk(const std::string& path) {
    return bytes_of((fs::path(folder_.path("tree")) / path).string());
  }
  std::optional<std::string> in_mirror(const std::string& path) {
    return bytes_of((fs::path(folder_.path("mirror")) / path).string());
  }

  bool save(const std::string& path, const std::string& text, bool dirty = false) {
    File& file = store_->touch(path);
    file.content = Blob::copy_of(text);
    return store_->check_in(&file, dirty);
  }

  /// "1=one 2=x 3=three": every version with its bytes, x for a tombstone; "" for an unknown file.
  std::string chain(const std::string& path) {
    const File* file = store_->find(path);
    std::string text;
    if (file == nullptr) return text;
    for (const VersionRecord& record : file->history) {
      if (!text.empty()) text += ' ';
      text += std::to_string(record.version) + "=";
      text += record.tombstone ? std::string_view("x") : record.bytes.bytes();
    }
    return text;
  }

  mrb::test::TempFolder folder_;
  platform::FaultyFiles files_{platform::SystemFiles()};
  Policy policy_;
  std::string warnings_;
  std::unique_ptr<VersionStore> store_;
};

}  // namespace mrb::vfs::test
