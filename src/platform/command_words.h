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

/// The arguments as one command line that Windows splits into exactly these again (the rules of
/// CommandLineToArgvW). The first, the program, is always quoted and must hold no quote itself.
[[nodiscard]] std::string WindowsCommandLine(const std::vector<std::string>& arguments);

}  // namespace mrb::platform
