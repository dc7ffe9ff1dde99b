#pragma once

#include <string>
#include <string_view>

namespace mrb::front {

/// What listens on the resident's port.
enum class ProbeResult {
  NoListener = 0,    ///< no connection, or the request could not be sent
  Foreign = 1,       ///< something answered, but it is not this program
  OtherVersion = 2,  ///< this program in another version, or in one it does not tell
  Current = 3,       ///< this program in this version
};

/// Reads a /health body by its two telltale substrings, not as JSON. `version` receives the
/// reported version, empty when there is none. Never NoListener.
[[nodiscard]] ProbeResult ClassifyHealth(std::string_view body, std::string& version);

/// -1, 0 or 1 as version `a` is older than, equal to or newer than `b`, number by number; a missing
/// number counts as 0.
[[nodiscard]] int CompareVersions(std::string_view a, std::string_view b);

}  // namespace mrb::front
