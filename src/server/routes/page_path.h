#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/files.h"
#include "server/http/http_message.h"

namespace mrb::server {

/// From the path of a request to the file of a page; the rules that keep a request inside the
/// folder.

/// The file below web/ui that "/ui", "/ui/" or "/ui/<file>" asks for, with "/" between its parts.
/// The path is percent-decoded once; nothing when a part is no plain name afterwards (which covers
/// "..", an absolute path, a drive, a backslash, NUL, a device).
[[nodiscard]] std::optional<std::string> UiFile(std::string_view path);

/// The file below web/backgrounds that "/backgrounds/<name>" asks for, or nothing.
[[nodiscard]] std::optional<std::string> BackgroundFile(std::string_view path);

/// The file below web that "/screensaver-<name>.html" asks for, or nothing.
[[nodiscard]] std::optional<std::string> ScreensaverFile(std::string_view path);

/// By the extension of the file's name.
[[nodiscard]] std::string_view ContentTypeOf(std::string_view file);

/// Reads folder/file when each of the file's parts is really in the folder: a link on the way, or
/// at the end, is as good as missing, since it may lead anywhere. `file` comes from a function
/// above.
[[nodiscard]] std::optional<std::string> ReadInside(platform::FileSystem& files,
                                                    const std::string& folder,
                                                    std::string_view file);

/// A page whose path is ours, links followed. Nothing when it is missing or larger than kMaxPage.
[[nodiscard]] std::optional<std::string> ReadPage(platform::FileSystem& files,
                                                  const std::string& path);

inline constexpr std::uint64_t kMaxPage = std::uint64_t{64} << 20U;  ///< larger ones are no pages

/// Whether a name from outside is one plain entry of a folder on every system this runs on: 1 to
/// 255 bytes of valid UTF-8, no separator of either kind, no colon (drives, streams), no control
/// character, neither "." nor "..", no blank or dot at the end (Windows drops those), none of
/// Windows' device names with or without an extension.
[[nodiscard]] bool IsPlainName(std::string_view name);

}  // namespace mrb::server
