#pragma once

#include <string>

#include "vfs/verbs/verb_call.h"

namespace mrb::vfs {

/// Puts a directory under version control, or changes how it is.
[[nodiscard]] std::string Enroll(const VerbCall& call);

/// Takes a directory off the list; its mirror stays.
[[nodiscard]] std::string Unenroll(const VerbCall& call);

/// Shows or changes the policy of a store.
[[nodiscard]] std::string ShowPolicy(const VerbCall& call);

}  // namespace mrb::vfs
