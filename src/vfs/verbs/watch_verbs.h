#pragma once

#include <string>

#include "vfs/verbs/verb_call.h"

namespace mrb::vfs {

/// Follows a single file; without one, lists those that are followed.
[[nodiscard]] std::string Watch(const VerbCall& call);

/// Stops following it; its history stays.
[[nodiscard]] std::string Unwatch(const VerbCall& call);

}  // namespace mrb::vfs
