#pragma once

#include <string>
#include <vector>

#include "vfs/policy/line_file.h"

namespace mrb::vfs {

/// "watchedfiles.cfg": the single files that are followed, one path a line.
class WatchedFiles {
 public:
  WatchedFiles(platform::FileSystem& files, std::string path,
               platform::PathStyle style = platform::SystemPathStyle())
      : file_(files, std::move(path)), style_(style) {}

  [[nodiscard]] const std::string& path() const { return file_.path(); }

  /// In the order of the file, each once.
  [[nodiscard]] Result<std::vector<std::string>> read() const;

  /// False when it was listed already.
  [[nodiscard]] Result<bool> add(const std::string& watched);

  /// Whether it was listed.
  [[nodiscard]] Result<bool> remove(const std::string& watched);

 private:
  LineFile file_;
  platform::PathStyle style_;
};

}  // namespace mrb::vfs
