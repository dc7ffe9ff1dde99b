#pragma once

#include <string>
#include <string_view>

namespace mrb::platform {

/// The folders that a walk has still to read, in one block of memory: a walk of a large tree runs
/// every second and must not allocate for each name. Paths hold no zero byte.
class FolderStack {
 public:
  void push(std::string_view path) {
    bytes_.push_back('\0');
    bytes_.append(path);
  }

  /// Moves the last one into `path`; false when there is none.
  [[nodiscard]] bool pop(std::string& path) {
    if (bytes_.empty()) return false;
    const std::size_t at = bytes_.rfind('\0');
    path.assign(bytes_, at + 1);
    bytes_.resize(at);
    return true;
  }

 private:
  std::string bytes_;
};

}  // namespace mrb::platform
