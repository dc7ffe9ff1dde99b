#pragma once

#include <string>
#include <string_view>

namespace mrb::vfs {

/// The part of a path behind its last "/" or "\".
[[nodiscard]] std::string_view BaseName(std::string_view path);

/// Whether a file or folder of this base name would be taken for the mirror's own machinery.
/// Compared to the letter: ".TMP$" is the user's.
[[nodiscard]] bool IsReservedName(std::string_view base_name);

/// Whether the path's own name, or that of a folder in it, is reserved.
[[nodiscard]] bool HasReservedPart(std::string_view path);

/// What a write to such a path is refused with.
[[nodiscard]] std::string ReservedNameReason(std::string_view path);

}  // namespace mrb::vfs
