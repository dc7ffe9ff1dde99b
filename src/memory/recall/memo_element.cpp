#include "memory/recall/memo_element.h"

#include <charconv>

#include "common/text.h"
#include "memory/record/memo_types.h"

namespace mrb::memory {

void MemoElement::look_at(std::uint32_t row) {
  row_ = row;
  record_ = index_.record(row);
  name_.clear();
  keywords_.clear();
}

std::string_view MemoElement::name() const {
  if (!name_.empty()) return name_;
  char number[20];
  const auto end = std::to_chars(std::begin(number), std::end(number),
                                 std::uint64_t{index_.memos()[row_].ordinal} + 1);
  return name_.append(record_.topic).append("#").append(std::begin(number), end.ptr);
}

query::List MemoElement::keywords() const {
  if (!keywords_.empty()) return keywords_;
  keywords_.push_back(record_.topic);
  KeywordCursor cursor = record_.keywords();
  for (std::string_view keyword; cursor.next(keyword);) keywords_.push_back(keyword);
  return keywords_;
}

query::List MemoElement::flags() const {
  static const std::vector<std::string_view> kNames = Split(MemoTypeNames(), '|');
  flags_.clear();
  for (std::size_t bit = 0; bit < kNames.size(); ++bit) {
    if ((record_.props >> bit & 1U) != 0) flags_.push_back(kNames[bit]);
  }
  return flags_;
}

}  // namespace mrb::memory
