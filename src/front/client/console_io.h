#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace mrb::front {

/// Lines of standard input, without a byte order mark before the first; one of them can be put back
/// for whoever reads on.
class StdinLines {
 public:
  /// The next line that is not empty, without its line end; nothing at the end of input.
  [[nodiscard]] std::optional<std::string> next();
  void put_back(std::string line) { put_back_ = std::move(line); }

 private:
  std::optional<std::string> put_back_;
  bool begun_ = false;
};

/// Prints an answer on standard output, in pieces or whole, with a line feed behind it unless it is
/// empty or has one. A console takes whole characters only, and pieces may end within one: so it
/// prints whole lines.
class AnswerPrinter {
 public:
  void print(std::string_view piece);
  void finish();

 private:
  std::string rest_;  // behind the last line feed
};

/// Prints a whole answer.
void PrintAnswer(std::string_view answer);

}  // namespace mrb::front
