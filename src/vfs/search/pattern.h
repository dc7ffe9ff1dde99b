#pragma once

#include <bitset>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/error.h"

namespace mrb::search {

using ByteSet = std::bitset<256>;

/// How a pattern is read.
struct PatternOptions {
  bool ignore_case = false;  ///< as "(?i)" at the start does
  bool whole_words = false;  ///< no word byte may stand directly before or behind a match
  bool literal = false;      ///< every byte stands for itself
};

enum class NodeKind : std::uint8_t {
  kEmpty,
  kBytes,  ///< one byte of a set
  kSequence,
  kChoice,
  kRepeat,
  kGroup,  ///< its child, remembered as a submatch
  kLineStart,
  kLineEnd,
  kWordEdge,
  kNoWordEdge,
  kNoWordBefore,
  kNoWordAfter,
};

/// A node of a pattern's tree; children are numbers of nodes that stand before it.
struct Node {
  static constexpr std::uint32_t kEndless = UINT32_MAX;

  NodeKind kind = NodeKind::kEmpty;
  ByteSet bytes;
  std::vector<std::uint32_t> children;
  std::uint32_t least = 0;  ///< of a repetition
  std::uint32_t most = 0;
  std::uint32_t group = 0;  ///< of a group: its number, from 1
};

/// A regular expression: POSIX extended syntax, and \d \D \w \W \s \S \b \B \t \n \r \f \v \xHH,
/// (?:…) and a leading (?i); groups are numbered by their "(". A match lies within one line; bytes
/// are characters.
struct Pattern {
  /// Bounds for patterns of strangers, beyond what people write.
  static constexpr std::size_t kMaxLength = 65'536;
  static constexpr std::size_t kDeepest = 200;
  static constexpr std::size_t kMaxStacked = 4;  // as in a+*
  static constexpr std::uint32_t kMaxRepeats = 1000;

  std::vector<Node> nodes;  ///< the root last
  std::uint32_t groups = 0;
  bool ignore_case = false;
};

/// The error is a sentence for the user.
[[nodiscard]] Result<Pattern> ParsePattern(std::string_view text, PatternOptions options);

}  // namespace mrb::search
