#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mrb::vfs {

/// The text behind the last "." of the base name, in lower case; empty when there is none. A dot
/// file is all extension: ".gitignore" has "gitignore".
[[nodiscard]] std::string ExtensionOf(std::string_view path);

/// Images are content when they are small (an icon, a figure), and bulk when they are not.
inline constexpr std::uint64_t kSmallImageBytes = std::uint64_t{1} << 20U;

/// The built-in include set: source, text, configuration, markup, scripts, the usual names that
/// have no extension (Makefile, LICENSE), and images of less than kSmallImageBytes.
[[nodiscard]] bool InIncludeSet(std::string_view path, std::uint64_t bytes);

/// The built-in exclude set: binaries, compile intermediates, archives, media, logs, databases, and
/// images from kSmallImageBytes on. A name of neither set is in neither.
[[nodiscard]] bool InExcludeSet(std::string_view path, std::uint64_t bytes);

}  // namespace mrb::vfs
