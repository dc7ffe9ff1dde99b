#include "memory/containers/token_list.h"

#include <algorithm>

#include "memory/containers/name_table.h"

namespace mrb::memory {

namespace {
constexpr std::size_t kFirstSlots = 64;  // a usual memo's words at half load
}

std::string_view TokenList::operator[](std::size_t i) const {
  const std::size_t start = i == 0 ? 0 : ends_[i - 1];
  return std::string_view(bytes_).substr(start, ends_[i] - start);
}

bool TokenList::insert(std::string_view name) {
  if (2 * ends_.size() >= slots_.size()) rehash(std::max(kFirstSlots, 2 * slots_.size()));
  const std::uint64_t hash = HashName(name);
  const auto upper = static_cast<std::uint32_t>(hash >> 32U);
  std::size_t at = hash & (slots_.size() - 1);
  for (; slots_[at].number != 0; at = (at + 1) & (slots_.size() - 1)) {
    if (slots_[at].hash == upper && (*this)[slots_[at].number - 1] == name) return false;
  }
  bytes_.append(name);
  ends_.push_back(bytes_.size());
  slots_[at] = {upper, static_cast<std::uint32_t>(ends_.size())};
  return true;
}

void TokenList::rehash(std::size_t slots) {
  slots_.assign(slots, {});
  ends_.reserve(slots / 2);
  for (std::size_t i = 0; i < ends_.size(); ++i) {
    const std::uint64_t hash = HashName((*this)[i]);
    std::size_t at = hash & (slots - 1);
    while (slots_[at].number != 0) {
      at = (at + 1) & (slots - 1);
    }
    slots_[at] = {static_cast<std::uint32_t>(hash >> 32U), static_cast<std::uint32_t>(i + 1)};
  }
}

std::vector<std::string_view> TokenList::views() const {
  std::vector<std::string_view> views;
  views.reserve(size());
  for (std::size_t i = 0; i < size(); ++i) {
    views.push_back((*this)[i]);
  }
  return views;
}

}  // namespace mrb::memory
