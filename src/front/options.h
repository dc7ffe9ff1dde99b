#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/error.h"

namespace mrb::front {

inline constexpr std::int32_t kDefaultPort = 9999;

/// What the global options say. Written before the first thread starts, read-only afterwards.
struct Options {
  std::int32_t port = kDefaultPort;
  std::string data_home_override;  ///< of --conf or --home, the last one; empty: none
  std::vector<std::string>
      arguments;  ///< the command line without the global options, argv[0] first
};

/// Takes --port/-p, --conf and --home with their values out of the arguments. `-p` behind the word
/// `grep` is grep's own. An option without a value stays an ordinary argument. A port that is no
/// number of 1..65535 is kInvalidArgument with the value, as it stands, for text.
[[nodiscard]] Result<Options> ParseOptions(std::vector<std::string> arguments);

/// The first word that is neither an option nor the value of a global one; empty when there is
/// none.
[[nodiscard]] std::string FindVerb(const std::vector<std::string>& arguments);

}  // namespace mrb::front
