#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "vfs/verbs/verb_call.h"

namespace mrb::vfs {

/// Compares two versions of a file, two files, two folders, or one folder at two moments.
[[nodiscard]] std::string RunDiff(const VerbCall& call);

/// "3" and "v3".
[[nodiscard]] std::optional<std::uint32_t> VersionOf(std::string_view text);

/// The answer for a version that a file does not have.
[[nodiscard]] std::string NoVersion(const std::string& version, const std::string& path);

}  // namespace mrb::vfs
