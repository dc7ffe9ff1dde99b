#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "temp_folder.h"
#include "vfs/verbs/vfs_service.h"

namespace mrb::vfs::test {

namespace fs = std::filesystem;
using mrb::test::TempFolder;
inline constexpr std::uint64_t kGigabyte = std::uint64_t{1} << 30U;

/// A service over a data home of its own, and a tree to enrol.
class ServiceFixture : public testing::Test {
 protected:
  ServiceFixture() : root_(folder_.path("tree")) {
    fs::create_directories(root_);
    start();
  }

  void start() {
    VfsOptions options;
    options.files = &platform::SystemFiles();
    options.data_home = folder_.path("home");
    options.settings_files = {folder_.path("mirebolt.cfg")};
    options.outside_author = [] { return std::string("outside"); };
    options.print = [this](std::string_view text) { printed_ += text; };
    options.memory = [this] { return platform::SystemMemory{64 * kGigabyte, free_}; };
    service_.reset();
    printed_.clear();
    service_ = std::make_unique<VfsService>(std::move(options));
  }

  void put(const std::string& path, const std::string& text) {
    const fs::path target = fs::path(root_) / path;
    fs::create_directories(target.parent_path());
    std::ofstream(target, std::ios::binary) << text;
  }

  std::string read(const std::string& path) {
    std::ifstream file(fs::path(root_) / path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
  }

  /// Runs "name:verb arguments" as `author`, from the tree's root.
  std::string run(const std::string& line, const std::string& author = "ann") {
    const std::size_t colon = line.find(':');
    const std::size_t blank = std::min(line.find(' '), line.size());
    return service_->execute(
        {.author = author, .folder = CallerFolder::known(root_), .registers = registers_},
        line.substr(0, colon), line.substr(colon + 1, blank - colon - 1),
        line.substr(std::min(blank + 1, line.size())));
  }

  /// The script's answers, one by one; a "*" at the end of an expected one stands for anything.
  struct Step {
    std::string line;
    std::string answer;
    std::string author = "ann";
  };
  void expect(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
      const std::string answer = run(step.line, step.author);
      if (step.answer.ends_with('*')) {
        const std::string start = step.answer.substr(0, step.answer.size() - 1);
        EXPECT_TRUE(answer.starts_with(start)) << step.line << "\n" << answer;
      } else {
        EXPECT_EQ(answer, step.answer) << step.line;
      }
    }
  }

  std::string enroll(const std::string& flags = "") {
    return run("fsvctl:enroll " + root_ + " " + flags);
  }

  TempFolder folder_;
  std::string root_;
  std::uint64_t free_ = 32 * kGigabyte;
  std::string printed_;
  std::unique_ptr<VfsService> service_;
  std::shared_ptr<CommandRegister> registers_ = std::make_shared<CommandRegister>();
};

}  // namespace mrb::vfs::test
