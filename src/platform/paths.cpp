#include "platform/paths.h"

#include <algorithm>

namespace mrb::platform {
namespace {

bool IsSeparator(char c, PathStyle style) {
  return c == '/' || (c == '\\' && style == PathStyle::kWindows);
}

/// Bytes at the start of `path` that no parent may lose: "/", or "C:" with or without a separator.
std::size_t RootLength(std::string_view path, PathStyle style) {
  const bool has_drive = style == PathStyle::kWindows && path.size() >= 2 && path[1] == ':';
  const std::size_t drive = has_drive ? 2 : 0;
  return path.size() > drive && IsSeparator(path[drive], style) ? drive + 1 : drive;
}

/// The end of `path` without the separators that stand there, those of the root left alone.
std::size_t EndWithoutSeparators(std::string_view path, std::size_t root, PathStyle style) {
  std::size_t end = path.size();
  while (end > root && IsSeparator(path[end - 1], style)) --end;
  return end;
}

}  // namespace

char PathSeparator(PathStyle style) {
  return style == PathStyle::kWindows ? '\\' : '/';
}

std::string JoinPath(std::string_view folder, std::string_view name, PathStyle style) {
  std::string path(folder);
  if (!path.empty() && !IsSeparator(path.back(), style)) path += PathSeparator(style);
  return path.append(name);
}

bool IsAbsolutePath(std::string_view path, PathStyle style) {
  return RootLength(path, style) > 0;
}

std::string ParentPath(std::string_view path, PathStyle style) {
  const std::size_t root = RootLength(path, style);
  std::size_t end = EndWithoutSeparators(path, root, style);
  while (end > root && !IsSeparator(path[end - 1], style)) --end;
  end = EndWithoutSeparators(path.substr(0, end), root, style);
  return end == 0 ? "." : std::string(path.substr(0, end));
}

std::string NativePath(std::string_view path, PathStyle style) {
  std::string native(path);
  if (style == PathStyle::kWindows) std::ranges::replace(native, '/', '\\');
  return native;
}

}  // namespace mrb::platform
