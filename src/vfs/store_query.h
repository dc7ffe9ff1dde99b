#pragma once

#include <string>

#include "vfs/verb_call.h"

namespace mrb::vfs {

/// Answers an expression of the query language, the call's arguments, over one store: --store=, or
/// the only enrolled one.
[[nodiscard]] std::string RunQuery(const VerbCall& call);

}  // namespace mrb::vfs
