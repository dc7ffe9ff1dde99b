#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "common/little_endian.h"

namespace mrb {

/// Appends a number, little endian.
template <typename Word>
void PutWord(std::string& out, Word word) {
  const std::size_t at = out.size();
  out.resize(at + sizeof word);
  StoreLittleEndian(out.data() + at, word);
}

/// Appends a text of less than 4 GiB behind its length in 32 bits.
inline void PutText(std::string& out, std::string_view text) {
  PutWord(out, static_cast<std::uint32_t>(text.size()));
  out += text;
}

/// Takes such fields off the front of bytes that anybody may have written; once one does not fit,
/// all are zero or empty and good() is false.
class FieldReader {
 public:
  explicit FieldReader(std::string_view bytes) : bytes_(bytes) {}

  template <typename Word>
  [[nodiscard]] Word word() {
    const std::string_view taken = take(sizeof(Word));
    return taken.empty() ? Word{0}
                         : LoadLittleEndian<Word>(std::span(taken).template first<sizeof(Word)>());
  }

  [[nodiscard]] std::string_view text() { return take(word<std::uint32_t>()); }

  [[nodiscard]] std::string_view take(std::uint64_t size) {
    if (!good_ || size > bytes_.size()) {
      good_ = false;
      return {};
    }
    const std::string_view taken = bytes_.substr(0, static_cast<std::size_t>(size));
    bytes_.remove_prefix(taken.size());
    return taken;
  }

  /// A count, in 32 bits, of things that take at least `least` bytes each.
  [[nodiscard]] std::uint32_t count(std::uint64_t least) {
    const auto number = word<std::uint32_t>();
    good_ = good_ && number <= bytes_.size() / least;
    return good_ ? number : 0;
  }

  [[nodiscard]] bool good() const { return good_; }
  [[nodiscard]] bool at_end() const { return bytes_.empty(); }

 private:
  std::string_view bytes_;
  bool good_ = true;
};

}  // namespace mrb
