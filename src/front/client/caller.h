#pragma once

#include <string>
#include <string_view>

#include "common/caller_folder.h"

namespace mrb::front {

/// What this process is to the resident that it asks.

/// Where it works.
[[nodiscard]] CallerFolder OwnFolder();

/// The headers that tell a resident its folder and, unless that is empty, the data home that its
/// user named: whole lines with their line ends.
[[nodiscard]] std::string CallerHeaders(std::string_view data_home);

/// A new id for one call, by which it can be found in the resident's table.
[[nodiscard]] std::string NewCallId();

/// The header that carries it, with its line end.
[[nodiscard]] std::string CallHeader(std::string_view id);

}  // namespace mrb::front
