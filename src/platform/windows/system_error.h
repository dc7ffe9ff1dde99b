#pragma once

#include <string_view>

#include "common/error.h"

namespace mrb::platform {

/// The Error of a system call that failed with `number` (of GetLastError or WSAGetLastError, whose
/// ranges do not meet): `attempt` says what was tried ("open"), `object` on what (a path, a port).
[[nodiscard]] Error SystemError(unsigned long number, std::string_view attempt,
                                std::string_view object);

/// SystemError() of the calling thread's last error, as a result ready to be returned.
[[nodiscard]] std::unexpected<Error> FailLastError(std::string_view attempt,
                                                   std::string_view object);

}  // namespace mrb::platform
