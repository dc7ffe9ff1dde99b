#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mrb::server {

/// Watches a terminal's output for the line by which a command tells its end: the marker, then the
/// exit status in decimal. Only what is printed counts: escape sequences, blanks, carriage returns
/// and line feeds are left out of the comparison, so neither colours nor a line that the terminal
/// wrapped hide the marker. Where no digit follows it, it is the echo of the sent line.
class MarkerScanner {
 public:
  /// `offset`: where in the output the first byte that is fed lies.
  MarkerScanner(std::string marker, std::uint64_t offset);

  /// The next bytes, in pieces of any size. Nothing more is looked at once the end was found.
  void feed(std::string_view bytes);

  struct End {
    std::uint64_t begin = 0;  ///< where the marker begins
    std::int64_t status = 0;
  };
  [[nodiscard]] const std::optional<End>& end() const { return end_; }

  /// The last line that holds an echo of the marker: where it begins, and where the next begins.
  /// Nothing before that line is complete.
  struct Echo {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
  };
  [[nodiscard]] const std::optional<Echo>& echo() const { return echo_; }

 private:
  enum class State : std::uint8_t { kText, kEscape, kControl, kString, kStringEscape, kOneMore };

  void take(char c);
  void take_in_sequence(char c);
  void take_printed(char c);
  void match(char c);
  void after_marker(char c);
  void end_line();
  void was_echo();
  void finish_status();

  static constexpr std::size_t kMaxString = 4096;  // a sequence longer than this is none
  static constexpr std::size_t kMaxDigits = 18;    // fits the number

  const std::string marker_;
  std::vector<std::size_t> fallback_;  // the usual table of the Knuth-Morris-Pratt search
  struct Place {
    std::uint64_t at;
    std::uint64_t line;  // where its line begins
  };
  std::vector<Place> matched_;  // the characters matched so far
  std::uint64_t at_;
  std::uint64_t line_begin_;
  State state_ = State::kText;
  std::size_t string_length_ = 0;
  bool marker_seen_ = false;                 // the whole marker; what follows it decides
  std::string status_;                       // its digits so far
  std::optional<std::uint64_t> echo_begin_;  // of a line whose end has not come yet
  std::optional<Echo> echo_;
  std::optional<End> end_;
};

}  // namespace mrb::server
