#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mrb {

/// Finds a text inside others, many bytes a step: two bytes of it that are rare in most texts are
/// looked for at their distance, and only where both are found the rest is compared. The widest
/// instructions that the processor has are chosen when the object is made.
///
/// Immutable after that; any number of threads may search.
class LiteralSearch {
 public:
  /// `ignore_case`: ASCII letters are equal to their other case.
  explicit LiteralSearch(std::string_view needle, bool ignore_case = false);

  /// Where the needle begins first, at `from` or later; npos when nowhere. An empty needle is found
  /// at `from`.
  [[nodiscard]] std::size_t find(std::string_view text, std::size_t from = 0) const;

  [[nodiscard]] const std::string& needle() const { return needle_; }

 private:
  /// The first place in [from, end) of `text` where both probes fit and the needle follows.
  using Scan = std::size_t (*)(const LiteralSearch&, const char* text, std::size_t from,
                               std::size_t end);
  friend struct LiteralScans;

  [[nodiscard]] bool fits(const char* at) const;

  std::string needle_;  // in lower case when case is ignored
  bool ignore_case_ = false;
  std::size_t probe1_ = 0;  // places in the needle
  std::size_t probe2_ = 0;
  unsigned char fold1_ = 0;  // the bit that a letter's other case differs in, or 0
  unsigned char fold2_ = 0;
  Scan scan_ = nullptr;
};

}  // namespace mrb
