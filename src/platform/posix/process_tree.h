#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

namespace mrb::platform {

/// The environment variable that marks a process tree: children inherit its value, also those that
/// begin a session of their own and lose their parent, which no other trace leads to.
inline constexpr std::string_view kTreeVariable = "MIREBOLT_TREE";

/// A new value for it, that no tree had before.
[[nodiscard]] std::string NewTreeMark();

/// Kills every process of a tree: those whose environment began with that mark and, while `root` is
/// a child of this process that has not been reaped (0: it has), it, its descendants and its
/// session. Goes on until none is left, also of those that are born meanwhile; gives up after some
/// hundred rounds. Returns whether none is left.
bool EndProcessTree(pid_t root, const std::string& mark);

}  // namespace mrb::platform
