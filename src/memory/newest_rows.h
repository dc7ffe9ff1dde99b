#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "memory/memo_table.h"

namespace mrb::memory {

/// The `count` most recently written rows, newest first; the later of two rows with one time first,
/// all untimed ones behind. Looks at every memo once and keeps the best only.
[[nodiscard]] std::vector<std::uint32_t> NewestRows(const MemoTable& memos, std::size_t count);

}  // namespace mrb::memory
