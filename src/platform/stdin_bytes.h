#pragma once

#include <string>

namespace mrb::platform {

/// Appends what standard input has next, waiting for it; false at its end. What ReadStdinLine() is
/// made of.
bool ReadStdin(std::string& buffer);

}  // namespace mrb::platform
