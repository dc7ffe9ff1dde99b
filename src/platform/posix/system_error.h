#pragma once

#include <string_view>

#include "common/error.h"

namespace mrb::platform {

/// The Error of a system call that failed with `number` (an errno value): `attempt` says what was
/// tried ("open"), `object` on what (a path, an address).
[[nodiscard]] Error SystemError(int number, std::string_view attempt, std::string_view object);

/// SystemError() of the calling thread's errno, as a result ready to be returned.
[[nodiscard]] std::unexpected<Error> FailErrno(std::string_view attempt, std::string_view object);

}  // namespace mrb::platform
