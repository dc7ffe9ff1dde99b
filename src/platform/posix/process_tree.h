#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace mrb::platform {

/// The environment variable that marks a process tree. Children inherit its value, which still
/// leads to them when the tree's supervisor was killed.
inline constexpr std::string_view kTreeVariable = "MIREBOLT_TREE";

/// Its value in a process that is to outlive whatever tree it was started in.
inline constexpr std::string_view kNoTree = "none";

/// A new "variable=value" for it, that no tree had before.
[[nodiscard]] std::string NewTreeMark();

/// Kills every process of a tree: what descends from its supervisor (0: it is gone), but not the
/// supervisor, and those whose environment began with that mark. A process that left all trees on
/// purpose is passed over with what it started. Goes on until two looks in a row found nobody to
/// kill, so that nobody who is born between them is missed. Returns those that are left: they may
/// not be killed by this user, or the system did not end them within `patience`.
[[nodiscard]] std::vector<pid_t> EndProcessTree(pid_t supervisor, const std::string& mark,
                                                std::chrono::milliseconds patience);

}  // namespace mrb::platform
