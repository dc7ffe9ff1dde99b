#include "platform/command_words.h"

#include <string_view>

namespace mrb::platform {

namespace {

/// What a shell acts on wherever it stands outside of quotes.
constexpr std::string_view kShellOnly = "|&;<>()$`*?[]{}~#!\n\r";

/// What keeps its meaning between double quotes: an expansion, and the backslash in front of these.
constexpr std::string_view kLiveInQuotes = "$`";
constexpr std::string_view kEscapableInQuotes = "$`\"\\";

class Splitter {
 public:
  explicit Splitter(std::string_view line) : line_(line) {}

  std::optional<std::vector<std::string>> run() {
    while (at_ < line_.size()) {
      if (!take(line_[at_++])) return std::nullopt;
    }
    end_word();
    if (words_.empty() || words_.front().find('=') != std::string::npos) return std::nullopt;
    return std::move(words_);
  }

 private:
  bool take(char c) {
    if (c == ' ' || c == '\t') {
      end_word();
      return true;
    }
    in_word_ = true;
    if (c == '\'') return take_single_quoted();
    if (c == '"') return take_double_quoted();
    if (c == '\\') {
      if (at_ == line_.size()) return false;
      c = line_[at_++];
    } else if (c == '\0' || kShellOnly.find(c) != std::string_view::npos) {
      return false;
    }
    word_ += c;
    return true;
  }

  bool take_single_quoted() {
    const auto end = line_.find('\'', at_);
    if (end == std::string_view::npos) return false;
    word_ += line_.substr(at_, end - at_);
    at_ = end + 1;
    return true;
  }

  bool take_double_quoted() {
    while (at_ < line_.size()) {
      const char c = line_[at_++];
      if (c == '"') return true;
      if (kLiveInQuotes.find(c) != std::string_view::npos) return false;
      const bool escapes = c == '\\' && at_ < line_.size() &&
                           kEscapableInQuotes.find(line_[at_]) != std::string_view::npos;
      word_ += escapes ? line_[at_++] : c;
    }
    return false;
  }

  void end_word() {
    if (in_word_) words_.push_back(std::move(word_));
    word_.clear();
    in_word_ = false;
  }

  std::string_view line_;
  std::size_t at_ = 0;
  bool in_word_ = false;
  std::string word_;
  std::vector<std::string> words_;
};

/// Backslashes are plain unless a quote follows them; then each counts half, and an odd one makes
/// the quote plain.
std::string Quoted(std::string_view argument) {
  std::string out = "\"";
  std::size_t backslashes = 0;
  for (const char c : argument) {
    if (c == '"') out.append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    out += c;
  }
  return out.append(backslashes, '\\').append("\"");
}

}  // namespace

std::optional<std::vector<std::string>> SplitCommandWords(std::string_view line) {
  return Splitter(line).run();
}

std::string WindowsCommandLine(const std::vector<std::string>& arguments) {
  if (arguments.empty()) return {};
  std::string line = "\"" + arguments[0] + "\"";  // backslashes mean nothing in the program's name
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const bool plain = !argument.empty() && argument.find_first_of(" \t\"") == std::string::npos;
    line.append(" ").append(plain ? argument : Quoted(argument));
  }
  return line;
}

}  // namespace mrb::platform
