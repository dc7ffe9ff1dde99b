#pragma once

#include <filesystem>
#include <random>
#include <string>

namespace mrb::test {

/// A folder of its own for one test, gone with the object. Paths are in the system's own form.
class TempFolder {
 public:
  TempFolder() {
    // Process numbers come again, and what an earlier run left may be more than can be removed here
    // (paths too long for the library), so the name has to be a new one.
    std::random_device random;
    do {
      root_ = std::filesystem::temp_directory_path() / ("mb-test-" + std::to_string(random()));
    } while (!std::filesystem::create_directories(root_));
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
