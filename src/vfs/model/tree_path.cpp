#include "vfs/model/tree_path.h"

#include <algorithm>
#include <vector>

#include "common/text.h"

namespace mrb::vfs {
namespace {

using platform::PathStyle;

bool IsSeparator(char c, PathStyle style) {
  return c == '/' || (c == '\\' && style == PathStyle::kWindows);
}

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// Bytes of "/" or "C:\" or "\\server\share" at the start; 0 for a relative path.
std::size_t RootLength(std::string_view path, PathStyle style) {
  if (style == PathStyle::kPosix) return path.starts_with('/') ? 1 : 0;
  if (path.size() >= 3 && IsLetter(path[0]) && path[1] == ':' && IsSeparator(path[2], style)) {
    return 3;
  }
  if (path.size() == 2 && IsLetter(path[0]) && path[1] == ':') return 2;
  if (path.size() < 3 || !IsSeparator(path[0], style) || !IsSeparator(path[1], style)) return 0;
  std::size_t end = 2;
  for (int parts = 0; parts < 2 && end < path.size(); ++parts) {
    while (end < path.size() && !IsSeparator(path[end], style)) ++end;
    if (parts == 0 && end < path.size()) ++end;
  }
  return end;
}

std::optional<std::vector<std::string>> Parts(std::string_view path, PathStyle style) {
  std::vector<std::string> parts;
  std::size_t at = 0;
  while (at < path.size()) {
    std::size_t end = at;
    while (end < path.size() && !IsSeparator(path[end], style)) ++end;
    const std::string_view part = path.substr(at, end - at);
    at = end + 1;
    if (part.empty() || part == ".") continue;
    if (part != "..") {
      parts.emplace_back(part);
    } else if (parts.empty()) {
      return std::nullopt;
    } else {
      parts.pop_back();
    }
  }
  return parts;
}

}  // namespace

bool IsAbsolutePath(std::string_view path, PathStyle style) {
  return RootLength(path, style) > 0;
}

std::optional<std::string> NormalPath(std::string_view absolute, PathStyle style) {
  const std::size_t length = RootLength(absolute, style);
  if (length == 0) return std::nullopt;
  const auto parts = Parts(absolute.substr(length), style);
  if (!parts) return std::nullopt;
  const std::string separator(1, platform::PathSeparator(style));
  std::string root(absolute.substr(0, length));
  if (style == PathStyle::kWindows) {
    std::ranges::replace(root, '/', '\\');
    if (root.size() == 2) root += separator;
    if (root.starts_with("\\\\") && !root.ends_with(separator)) root += separator;
  }
  std::string path = root + Join(*parts, separator);
  if (parts->empty() && path.size() > 3 && path.ends_with(separator)) path.pop_back();
  return path;
}

std::optional<std::string> NormalRelative(std::string_view relative, PathStyle style) {
  const auto parts = Parts(relative, style);
  if (!parts) return std::nullopt;
  return Join(*parts, "/");
}

std::optional<std::string> BelowRoot(std::string_view path, std::string_view root,
                                     PathStyle style) {
  const auto starts = [&](std::string_view text, std::string_view start) {
    if (text.size() < start.size()) return false;
    const std::string_view head = text.substr(0, start.size());
    return style == PathStyle::kPosix ? head == start : EqualsIgnoreCase(head, start);
  };
  if (!starts(path, root)) return std::nullopt;
  std::string_view rest = path.substr(root.size());
  const bool root_ends = !root.empty() && IsSeparator(root.back(), style);
  if (!rest.empty() && !root_ends) {
    if (!IsSeparator(rest[0], style)) return std::nullopt;
    rest.remove_prefix(1);
  }
  std::string relative(rest);
  if (style == PathStyle::kWindows) std::ranges::replace(relative, '\\', '/');
  return relative;
}

}  // namespace mrb::vfs
