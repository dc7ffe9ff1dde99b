#pragma once

#include <cstdint>

#include "common/civil_time.h"

namespace mrb::platform {

/// The calendar moment, in the user's time zone as it was in force then, `nanoseconds` after
/// 1970-01-01 00:00 UTC. All zero when the system has no answer. Thread-safe.
[[nodiscard]] CivilTime LocalTime(std::int64_t nanoseconds);

/// The same of this moment.
[[nodiscard]] CivilTime LocalNow();

}  // namespace mrb::platform
