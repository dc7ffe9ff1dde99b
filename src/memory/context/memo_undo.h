#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "memory/context/context_store.h"

namespace mrb::memory {

/// What a change of a topic's memos took away or put in, so that it can be taken back.
struct MemoUndo {
  enum class What : std::uint8_t { kAdded, kUpdated, kRemoved };
  /// A memo of the topic: its place from 1, and its record as it was.
  struct Memo {
    std::uint64_t n = 0;
    std::string record;
  };
  What what = What::kRemoved;
  std::string context;
  std::string topic;
  std::vector<Memo> memos;  ///< by place, at least one; of what was added, the place alone
  std::string mark;         ///< of the memo that was added, or stands where it was updated

  /// Remembers the memo of a row as it is now.
  void keep(const ContextStore& store, std::uint32_t row);
};

/// The error of who wants to change a memo that is not the one they saw any more.
[[nodiscard]] std::unexpected<Error> ChangedMeanwhile();

/// Takes the change back in the store of its context, which the caller holds for writing; returns
/// the number, from 1, of the first memo concerned. What was removed goes back to its places in the
/// topic, or behind what is left of it. What was added or updated must still be what the change
/// left there, else ChangedMeanwhile(). On failure the store is as it was.
[[nodiscard]] Result<std::uint64_t> TakeBack(ContextStore& store, const MemoUndo& undo);

}  // namespace mrb::memory
