#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "memory/text/date_stamp.h"
#include "memory/text/word_scan.h"

namespace mrb::memory {

/// The webs whose terms are words. (The fifth, WHEN, has dates; WHAT is what a memo's keywords
/// leave.)
enum class Web : std::uint8_t { kWho, kWhere, kWhy };
inline constexpr std::size_t kWebs = 3;

/// Who, when, where and why of one text, read off its words alone: the same text always has the
/// same answers, memo or question.
///
/// WHO: the speaker of a leading "Name:", capitalised words that do not start a sentence, @handles,
/// e-mail addresses. WHEN: dates (date_reader.h). WHERE: what follows in, at, near, from and to.
/// WHY: the clause behind because, since, caused, led and due. Keep the object for the next text.
class FiveWs {
 public:
  struct Term {
    Web web = Web::kWho;
    std::uint32_t start = 0;  // in names_
    std::uint32_t length = 0;
    std::uint32_t position = 0;  ///< where in the content the term stands
  };
  struct Date {
    DateStamp stamp;
    std::uint32_t position = 0;
  };

  /// Reads a memo written at `written` (0: unknown; words like "yesterday" are then no dates). A
  /// date in the topic's name counts where the content has none.
  void read(std::string_view content, std::string_view topic, std::uint64_t written);

  /// In the order in which they stand in the content; a term may come twice.
  [[nodiscard]] const std::vector<Term>& terms() const { return terms_; }
  [[nodiscard]] const std::vector<Date>& dates() const { return dates_; }

  [[nodiscard]] std::string_view name(const Term& term) const {
    return std::string_view(names_).substr(term.start, term.length);
  }

  /// The sentence of the content that a term or date stands in.
  [[nodiscard]] std::string_view sentence_at(std::uint32_t position) const {
    return content_.sentence_at(position);
  }

 private:
  void read_dates(const WordScan& words, std::uint64_t written, bool topic);
  void add(Web web, std::string_view name, std::uint32_t position);
  std::size_t read_speaker();
  std::size_t read_address(std::size_t i);
  std::size_t read_names(std::size_t i);
  void read_place(std::size_t i);
  void read_cause(std::size_t i);
  [[nodiscard]] bool is_name(std::size_t i) const;
  [[nodiscard]] bool is_date(std::size_t i) const { return dated_[i] != 0; }
  [[nodiscard]] std::size_t name_end(std::size_t i) const;

  WordScan content_;
  WordScan topic_;
  std::vector<char> dated_;  // by word of the content: part of a date
  std::string names_;
  std::vector<Term> terms_;
  std::vector<Date> dates_;
};

}  // namespace mrb::memory
