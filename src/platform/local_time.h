#pragma once

#include <cstdint>

#include "common/civil_time.h"

namespace mrb::platform {

/// The calendar moment, in the user's time zone as it was in force then, `nanoseconds` after
/// 1970-01-01 00:00 UTC. All zero when the system has no answer. Thread-safe.
[[nodiscard]] CivilTime LocalTime(std::int64_t nanoseconds);

/// LocalTime() of this moment.
[[nodiscard]] CivilTime LocalNow();

/// The inverse of LocalTime(): the seconds since 1970-01-01 00:00 UTC of a moment in the user's
/// time zone. Of a moment that a change of the clocks repeats, either; 0 for one before 1970 or
/// none at all. Thread-safe.
[[nodiscard]] std::uint64_t UnixSecondsOfLocal(const CivilTime& time);

}  // namespace mrb::platform
