#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "memory/index/term_web.h"
#include "memory/index/time_web.h"
#include "memory/record/memo_table.h"
#include "memory/record/record.h"
#include "memory/record/record_heap.h"
#include "memory/text/five_ws.h"

namespace mrb::memory {

/// The webs of one context: derived from its memos, never stored, kept up with every memo added.
class Webs {
 public:
  /// Derives the webs of all memos, on several threads. Throws std::bad_alloc.
  [[nodiscard]] static std::unique_ptr<Webs> build(const RecordHeap& heap, const MemoTable& memos,
                                                   std::size_t threads);

  /// Adds the memo of the next row.
  void add(std::uint32_t row, const RecordView& record);

  [[nodiscard]] const TermWeb& terms(Web web) const {
    return terms_[static_cast<std::size_t>(web)];
  }
  [[nodiscard]] const TimeWeb& time() const { return time_; }

 private:
  friend class IndexSpoiler;

  void append(const Webs& later);
  void finish();

  std::array<TermWeb, kWebs> terms_;
  TimeWeb time_;
  FiveWs five_ws_;                // scratch of add()
  std::vector<DateStamp> dates_;  // scratch of add()
};

}  // namespace mrb::memory
