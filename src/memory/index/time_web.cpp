#include "memory/index/time_web.h"

#include <iterator>

namespace mrb::memory {

void TimeWeb::push(ListBlock& block, std::uint32_t row) {
  const auto list = lists_.list(block);
  if (list.empty() || list.back() != row) lists_.push(block, row);
}

/// Puts the row, the newest so far, behind all of its date: before the first of the next date that
/// anchors any.
void TimeWeb::chain(Dates::iterator date, std::uint32_t row) {
  const auto anchored = lists_.list(date->second.anchored);
  std::uint32_t back = kNoId;
  if (!anchored.empty()) {
    back = anchored.back();
  } else {
    for (auto before = date; before != dates_.begin() && back == kNoId;) {
      --before;
      const auto rows = lists_.list(before->second.anchored);
      back = rows.empty() ? kNoId : rows.back();
    }
  }
  links_[row].back = back;
  auto next = std::next(date);
  while (next != dates_.end() && next->second.anchored.count == 0) {
    ++next;
  }
  if (next == dates_.end()) {
    tail_ = row;
  } else {
    links_[lists_.list(next->second.anchored).front()].back = row;
  }
}

void TimeWeb::add(std::uint32_t row, std::span<const DateStamp> dates) {
  links_.resize(std::size_t{row} + 1);
  links_[row] = {};
  if (dates.empty()) return;
  for (const DateStamp stamp : dates) {
    push(dates_[stamp.packed()].mentioned, row);
  }
  const auto anchor = dates_.find(dates.front().packed());
  links_[row].anchor = anchor->first;
  if (!deferred_) chain(anchor, row);
  lists_.push(anchor->second.anchored, row);
  ++chained_;
}

void TimeWeb::append(const TimeWeb& later) {
  for (const auto& [stamp, lists] : later.dates_) {
    Lists& own = dates_[stamp];
    for (const std::uint32_t row : later.lists_.list(lists.mentioned)) {
      lists_.push(own.mentioned, row);
    }
    for (const std::uint32_t row : later.lists_.list(lists.anchored)) {
      lists_.push(own.anchored, row);
    }
  }
  const std::size_t from = links_.size();
  if (later.links_.size() > from) {
    links_.resize(later.links_.size());
    std::copy(later.links_.data() + from, later.links_.data() + later.links_.size(),
              links_.data() + from);
  }
  chained_ += later.chained_;
}

void TimeWeb::link() {
  deferred_ = false;
  tail_ = kNoId;
  for (const auto& [stamp, lists] : dates_) {
    for (const std::uint32_t row : lists_.list(lists.anchored)) {
      links_[row].back = tail_;
      tail_ = row;
    }
  }
}

std::vector<TimeWeb::DateRows> TimeWeb::between(DateStamp from, DateStamp to) const {
  std::vector<DateRows> rows;
  const auto last = dates_.lower_bound(to.packed());
  for (auto date = dates_.lower_bound(from.packed()); date != last; ++date) {
    rows.push_back({DateStamp::unpack(date->first), lists_.list(date->second.mentioned),
                    lists_.list(date->second.anchored)});
  }
  return rows;
}

}  // namespace mrb::memory
