#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "memory/record/memo_table.h"

namespace mrb::memory {

/// How new the memos are up to a row, so that whoever looks for the newest ones from the end knows
/// when nothing before can be among them: the heap's order is that of writing but for imported and
/// updated memos. Thread-safe among readers of the table, whose rows only ever are added.
class WriteTimeIndex {
 public:
  static constexpr std::uint32_t kBlock = 4096;  ///< rows; a quarter of a thousand at a million

  /// The latest write time of the rows up to and with this block of them.
  [[nodiscard]] std::uint64_t latest_up_to(const MemoTable& memos, std::uint32_t block);

 private:
  std::mutex mutex_;
  std::vector<std::uint64_t> latest_;  // guarded by mutex_; of whole blocks
};

/// The `count` most recently written rows, newest first; the later of two rows with one time before
/// the other, and all untimed ones behind.
[[nodiscard]] std::vector<std::uint32_t> NewestRows(const MemoTable& memos, WriteTimeIndex& bounds,
                                                    std::size_t count);

}  // namespace mrb::memory
