#pragma once

#include <string>

#include "common/error.h"

namespace mrb::platform {

/// Renames a file or folder at once and writes it through to the disk. With `replace` a file of the
/// new name is replaced, otherwise it must be free. Names that another program holds for a moment
/// (a scanner, an indexer) are waited for, up to a fraction of a second.
[[nodiscard]] Status Rename(const std::string& from, const std::string& to, bool replace);

/// Removes a file, with the same patience.
[[nodiscard]] Status Remove(const std::string& path);

}  // namespace mrb::platform
