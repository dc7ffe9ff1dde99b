#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "memory/containers/list_arena.h"
#include "memory/containers/name_table.h"
#include "memory/containers/paged_array.h"
#include "memory/text/date_stamp.h"

namespace mrb::memory {

/// The WHEN web: which memos mention which dates, and the chain of the dated memos in time order. A
/// memo is anchored on the first date it mentions; memos of one date stand in store order. Readers
/// share it; the rest needs a writer alone.
class TimeWeb {
 public:
  /// Notes the dates of memo `row`, which lies behind all rows noted before; none is fine.
  void add(std::uint32_t row, std::span<const DateStamp> dates);

  /// While many memos are being added the chain is left out; link() makes it.
  void defer_chain() { deferred_ = true; }
  void append(const TimeWeb& later);
  void link();

  /// Dates that memos mention.
  [[nodiscard]] std::size_t size() const { return dates_.size(); }

  struct DateRows {
    DateStamp stamp;
    std::span<const std::uint32_t> mentioned;
    std::span<const std::uint32_t> anchored;
  };
  /// Those from `from` to before `to`, in order.
  [[nodiscard]] std::vector<DateRows> between(DateStamp from, DateStamp to) const;

  /// The date that the row is anchored on; unset for a memo without any.
  [[nodiscard]] DateStamp anchor(std::uint32_t row) const {
    return row < links_.size() ? DateStamp::unpack(links_[row].anchor) : DateStamp();
  }

  /// The chained memo before `row` in time; kNoId for the first one.
  [[nodiscard]] std::uint32_t earlier(std::uint32_t row) const { return links_[row].back; }
  /// The last chained memo; kNoId when there is none.
  [[nodiscard]] std::uint32_t tail() const { return tail_; }
  [[nodiscard]] std::uint64_t chained() const { return chained_; }

 private:
  friend class IndexSpoiler;  // tests that want to see damage found

  struct Lists {
    ListBlock mentioned;
    ListBlock anchored;
  };
  struct Link {
    std::uint32_t anchor = 0;  // packed; 0: not chained
    std::uint32_t back = kNoId;
  };
  using Dates = std::map<std::uint32_t, Lists>;

  void push(ListBlock& block, std::uint32_t row);
  void chain(Dates::iterator date, std::uint32_t row);

  Dates dates_;  // by packed stamp
  ListArena lists_;
  PagedArray<Link> links_;  // by row
  std::uint32_t tail_ = kNoId;
  std::uint64_t chained_ = 0;
  bool deferred_ = false;
};

}  // namespace mrb::memory
