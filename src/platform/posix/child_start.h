#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

#include "common/error.h"

namespace mrb::platform {

struct ChildStart {
  std::vector<std::string> arguments;  ///< the program's name first; not empty
  std::string program{};               ///< its path; empty: its name, looked for on PATH
  std::string folder{};                ///< empty: this process's own
  std::string terminal{};  ///< a terminal's path: its three streams, and its controlling terminal
  int output = -1;         ///< without one: where both outputs go; its input is empty
  int control = -1;        ///< what it finds as kControlDescriptor; -1: nothing there
};

/// Behind the three streams.
inline constexpr int kControlDescriptor = 3;

/// Starts a program in a session of its own, with these descriptors and no others and all signals
/// as the system has them. Nothing is copied for it, however large this process is. Errors: the
/// system's, with the program's name. Thread-safe.
[[nodiscard]] Result<pid_t> StartChild(const ChildStart& start,
                                       const std::vector<std::string>& environment);

/// This process's environment without the names given, for a program that is to be started.
[[nodiscard]] std::vector<std::string> EnvironmentWithout(
    const std::vector<std::string_view>& names);

/// Pointers to the texts, ended by a null pointer. Valid as long as they.
[[nodiscard]] std::vector<char*> NullEnded(const std::vector<std::string>& texts);

}  // namespace mrb::platform
