#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mrb::platform {

/// A command line taken apart as a POSIX shell would: blanks separate, quotes and backslashes
/// group. Nothing when only a shell can run it: it is blank, a quote stays open, or something
/// outside of quotes means more than itself there (pipes, variables, globs, assignments, comments).
[[nodiscard]] std::optional<std::vector<std::string>> SplitCommandWords(std::string_view line);

}  // namespace mrb::platform
