#include "vfs/policy/watched_files.h"

#include <algorithm>

#include "common/text.h"

namespace mrb::vfs {
namespace {

/// The path of a line as it is, or as an editor that ends lines with a carriage return left it.
std::string PathOf(std::string_view line) {
  return PathFromLine(TrimLineEnd(line));
}

}  // namespace

Result<std::vector<std::string>> WatchedFiles::read() const {
  const auto lines = file_.read();
  if (!lines) return std::unexpected(lines.error());
  std::vector<std::string> paths;
  for (const std::string& line : *lines) {
    std::string path = PathOf(line);
    const bool known = std::ranges::any_of(
        paths, [&](const std::string& other) { return SamePath(other, path, style_); });
    if (!path.empty() && path.find('\0') == std::string::npos && !known) {
      paths.push_back(std::move(path));
    }
  }
  return paths;
}

Result<bool> WatchedFiles::add(const std::string& watched) {
  return file_.edit([&](std::vector<std::string>& lines) {
    const bool known = std::ranges::any_of(
        lines, [&](const std::string& line) { return SamePath(PathOf(line), watched, style_); });
    if (!known) lines.push_back(PathToLine(watched));
    return !known;
  });
}

Result<bool> WatchedFiles::remove(const std::string& watched) {
  return file_.edit([&](std::vector<std::string>& lines) {
    return std::erase_if(lines, [&](const std::string& line) {
             return SamePath(PathOf(line), watched, style_);
           }) != 0;
  });
}

}  // namespace mrb::vfs
