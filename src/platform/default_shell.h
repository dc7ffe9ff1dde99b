#pragma once

#include <string>

namespace mrb::platform {

/// The command line of the user's shell, quoted where it holds blanks: $SHELL or /bin/sh, %COMSPEC%
/// on Windows.
[[nodiscard]] std::string DefaultShell();

/// The user's home folder; empty when the environment names none.
[[nodiscard]] std::string UserHome();

}  // namespace mrb::platform
