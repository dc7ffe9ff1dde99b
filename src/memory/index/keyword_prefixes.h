#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "memory/index/posting_table.h"

namespace mrb::memory {

/// The keywords of a context by their first eight bytes, for a search that is still being typed: 16
/// bytes a keyword. Not thread-safe.
class KeywordPrefixes {
 public:
  /// Takes in the keywords that are new since the last call.
  void follow(const KeywordIndex& keywords);

  /// Up to `most` keywords that begin with `prefix` (not empty), without the one that is it: those
  /// in most memos first, in the order of their numbers where that is equal.
  [[nodiscard]] std::vector<std::uint32_t> starting_with(const KeywordIndex& keywords,
                                                         std::string_view prefix,
                                                         std::size_t most) const;

 private:
  struct Entry {
    std::uint64_t start = 0;  ///< the first bytes, the first one highest, padded with zeros
    std::uint32_t id = 0;
  };

  std::vector<Entry> entries_;  // by start
};

}  // namespace mrb::memory
