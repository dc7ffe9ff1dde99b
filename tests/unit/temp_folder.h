#pragma once

#include <atomic>
#include <filesystem>
#include <string>

#include "platform/process.h"

namespace mrb::test {

/// A folder of its own for one test, gone with the object. Paths are in the system's own form.
class TempFolder {
 public:
  TempFolder() {
    static std::atomic<int> counter{0};
    const auto name = "mb-test-" + std::to_string(platform::ProcessId()) + "-" +
                      std::to_string(counter.fetch_add(1));
    root_ = std::filesystem::temp_directory_path() / name;
    std::filesystem::remove_all(root_);
    std::filesystem::create_directories(root_);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }

  [[nodiscard]] std::string path() const { return root_.string(); }
  [[nodiscard]] std::string path(const std::string& name) const { return (root_ / name).string(); }

 private:
  std::filesystem::path root_;
};

}  // namespace mrb::test
