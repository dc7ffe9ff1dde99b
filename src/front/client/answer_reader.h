#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace mrb::front {

/// Reads the body of an answer to a /console/exec request while it comes: it may be a hundred
/// megabytes of lines, of which the first are shown before the last are here. Gives out the "out"
/// value, unescaped; the whole body when it has none.
///
/// Escapes are undone byte by byte, lossy on purpose: \uXXXX becomes "?", since the resident
/// escapes control characters alone that way and none of them belongs on a console.
class AnswerReader {
 public:
  /// `text` takes the pieces, in order, none of them empty.
  explicit AnswerReader(std::function<void(std::string_view)> text) : text_(std::move(text)) {}

  /// The next bytes of the body, cut anywhere.
  void feed(std::string_view bytes);

  /// After the last bytes: gives out what would have needed more of them.
  void finish();

 private:
  enum class Place { kBody, kText, kEnd };

  [[nodiscard]] bool pass(std::string_view mark, std::string_view& bytes);
  [[nodiscard]] std::string_view read(std::string_view bytes, bool is_last);
  [[nodiscard]] std::string_view unescape(std::string_view raw, bool is_last);

  std::function<void(std::string_view)> text_;
  Place place_ = Place::kBody;
  std::string held_;          // waits for what follows it
  std::size_t searched_ = 0;  // of that, for the mark in front of the next place
  std::string piece_;
};

}  // namespace mrb::front
