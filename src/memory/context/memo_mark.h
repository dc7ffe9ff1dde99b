#pragma once

#include <cstdint>
#include <string>

#include "memory/index/context_index.h"

namespace mrb::memory {

/// What the memo of a row is at this moment, as a short text: who changes a memo that they have
/// looked at says by it which one they saw. Reads the whole memo; needs the context shared.
[[nodiscard]] std::string MemoMark(const ContextIndex& index, std::uint32_t row);

}  // namespace mrb::memory
