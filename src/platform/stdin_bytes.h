#pragma once

#include <chrono>
#include <string>

namespace mrb::platform {

/// Appends what standard input has next, waiting for it; false at its end. What ReadStdinLine() is
/// made of.
bool ReadStdin(std::string& buffer);

/// Whether ReadStdin() has something to read, or its end, within that time.
bool AwaitStdinBytes(std::chrono::milliseconds wait);

}  // namespace mrb::platform
