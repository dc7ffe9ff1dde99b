#include "vfs/diff/line_ids.h"

#include <bit>
#include <functional>

namespace mrb::diff {
namespace {

/// Open addressing, at most half full. The upper half of a hash is kept beside the number, so that
/// lines are compared only when they are almost certainly equal.
class LineTable {
 public:
  explicit LineTable(std::size_t lines) : slots_(std::bit_ceil(lines * 2 + 2)) {}

  LineId number(std::string_view line) {
    const std::size_t hash = std::hash<std::string_view>{}(line);
    const auto tag = static_cast<std::uint32_t>(hash >> 32U);
    for (std::size_t at = hash;; ++at) {
      Slot& slot = slots_[at & (slots_.size() - 1)];
      if (slot.number_plus_one == 0) return add(slot, tag, line);
      if (slot.tag == tag && lines_[slot.number_plus_one - 1] == line) {
        return slot.number_plus_one - 1;
      }
    }
  }

  [[nodiscard]] std::size_t count() const { return lines_.size(); }

 private:
  struct Slot {
    std::uint32_t tag = 0;
    std::uint32_t number_plus_one = 0;  // 0: free
  };

  LineId add(Slot& slot, std::uint32_t tag, std::string_view line) {
    lines_.push_back(line);
    slot = {tag, static_cast<std::uint32_t>(lines_.size())};
    return slot.number_plus_one - 1;
  }

  std::vector<Slot> slots_;
  std::vector<std::string_view> lines_;  // by number
};

}  // namespace

LineIds NumberLines(std::span<const std::string_view> lines1,
                    std::span<const std::string_view> lines2) {
  LineTable table(lines1.size() + lines2.size());
  LineIds ids;
  ids.side1.reserve(lines1.size());
  ids.side2.reserve(lines2.size());
  for (const std::string_view line : lines1) ids.side1.push_back(table.number(line));
  for (const std::string_view line : lines2) ids.side2.push_back(table.number(line));
  ids.distinct = table.count();
  return ids;
}

}  // namespace mrb::diff
