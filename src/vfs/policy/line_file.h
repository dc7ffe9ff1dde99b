#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/paths.h"

namespace mrb::vfs {

/// A small text file of one entry a line that the user may edit too: what cannot be understood in
/// it is left alone. Changes replace the file at once, and one process at a time makes them.
/// Thread-safe.
class LineFile {
 public:
  /// `files` outlives the object.
  LineFile(platform::FileSystem& files, std::string path) : files_(files), path_(std::move(path)) {}

  [[nodiscard]] const std::string& path() const { return path_; }

  /// The lines without their line feeds; none when there is no such file.
  [[nodiscard]] Result<std::vector<std::string>> read() const;

  /// Lets `change` work on the lines and, when it answers true, writes them, making the folder when
  /// it is missing. The answer of `change`. On failure the file is as it was; kBusy when another
  /// process does not finish its own change.
  [[nodiscard]] Result<bool> edit(const std::function<bool(std::vector<std::string>&)>& change);

 private:
  platform::FileSystem& files_;
  std::string path_;
};

/// A path as one line holds it: a line feed as "%0A", a carriage return as "%0D", and a "%" that
/// would read as one of these as "%25". Every other path is its own line.
[[nodiscard]] std::string PathToLine(std::string_view path);
[[nodiscard]] std::string PathFromLine(std::string_view line);

/// Whether two spellings name the same path: to the byte, or where the system's paths are not told
/// apart by case (ASCII letters) or kind of separator, without these. A separator at the end does
/// not count.
[[nodiscard]] bool SamePath(std::string_view a, std::string_view b,
                            platform::PathStyle style = platform::SystemPathStyle());

}  // namespace mrb::vfs
