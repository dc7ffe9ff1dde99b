#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mrb {

/// What a user is told of processes, by their numbers, that were to be ended with a command and
/// could not be: a line for each, led by a line feed. Empty when there are none.
[[nodiscard]] std::string StillRunningNotes(const std::vector<std::uint32_t>& processes);

}  // namespace mrb
