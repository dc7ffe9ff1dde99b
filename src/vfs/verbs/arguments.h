#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mrb::vfs {

/// What a file verb is given: plain words, `<tag>…</tag>` pairs and `--name=value` options, in any
/// mix. A word in double quotes may hold blanks. The text of a tag is kept byte for byte;
/// <content>, <old> and <new> may hold tag-like text themselves: <content> runs to its last closing
/// tag.
class Arguments {
 public:
  explicit Arguments(std::string_view text);

  /// The tag's text; nothing when it is not there.
  [[nodiscard]] std::optional<std::string> tag(std::string_view name) const;

  /// The tag of that name, else the plain word of that place.
  [[nodiscard]] std::string text(std::string_view name, std::size_t word) const;

  [[nodiscard]] bool is_true(std::string_view tag) const;

  /// The value of `--name=value`; empty for a bare `--name`; nothing when it is not there.
  [[nodiscard]] std::optional<std::string> option(std::string_view name) const;

  [[nodiscard]] const std::vector<std::string>& words() const { return words_; }

  /// All plain words from one on, as one text.
  [[nodiscard]] std::string words_from(std::size_t word) const;

 private:
  std::size_t read_tag(std::string_view text);
  std::size_t read_word(std::string_view text);

  std::map<std::string, std::string, std::less<>> tags_;
  std::map<std::string, std::string, std::less<>> options_;
  std::vector<std::string> words_;
};

}  // namespace mrb::vfs
