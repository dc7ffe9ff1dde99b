#include "memory/text/five_ws.h"

#include <algorithm>

#include "common/text.h"
#include "memory/text/date_reader.h"
#include "memory/text/tokenizer.h"

namespace mrb::memory {

namespace {

constexpr std::size_t kMaxNameWords = 4;     // "Johann Sebastian Bach Street"; more is a headline
constexpr std::size_t kMaxClauseBytes = 96;  // a cause that is a topic's name in the W5 context
constexpr std::size_t kMaxTermBytes = 255;   // as for keywords

bool IsAddressChar(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
         c == '-' || c == '_' || c == '+';
}

/// Without the "'s" or quotes at its ends.
std::string_view Bare(std::string_view word) {
  if (word.ends_with("'s") || word.ends_with("'S")) word.remove_suffix(2);
  while (word.ends_with('\'')) {
    word.remove_suffix(1);
  }
  while (word.starts_with('\'')) {
    word.remove_prefix(1);
  }
  return word;
}

bool IsArticle(std::string_view word) {
  constexpr std::string_view kArticles[] = {"the", "a", "an", "our", "my", "your", "their", "its"};
  return std::ranges::any_of(kArticles,
                             [&](std::string_view a) { return EqualsIgnoreCase(a, word); });
}

bool IsCommon(std::string_view word) {
  return IsCommonWord(LowerAscii(word));
}

}  // namespace

void FiveWs::add(Web web, std::string_view name, std::uint32_t position) {
  name = CutUtf8(name, kMaxTermBytes);
  if (name.empty()) return;
  const auto start = static_cast<std::uint32_t>(names_.size());
  bool blank = false;
  for (const char c : name) {  // lower case, runs of blanks as one
    const bool space = c == ' ' || c == '\t' || c == '\r' || c == '\n';
    if (!space || !blank) {
      names_ += space ? ' ' : c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    }
    blank = space;
  }
  terms_.push_back({web, start, static_cast<std::uint32_t>(names_.size()) - start, position});
}

void FiveWs::read_dates(const WordScan& words, std::uint64_t written, bool topic) {
  for (std::size_t i = 0; i < words.size();) {
    const ScannedWord& word = words[i];
    if (!word.digit && word.meaning.kind == WordKind::kOther && word.size() != 2) {
      ++i;  // nearly every word
      continue;
    }
    const FoundDates dates = ReadDate(words, i, written);
    for (const DateStamp stamp : dates.stamps) {
      dates_.push_back({stamp, topic ? 0 : word.begin});
    }
    if (!topic) {
      std::fill_n(dated_.begin() + static_cast<std::ptrdiff_t>(i), dates.words, char{1});
    }
    i += std::max<std::size_t>(dates.words, 1);
  }
}

bool FiveWs::is_name(std::size_t i) const {
  const ScannedWord& word = content_[i];
  if (!word.capital || is_date(i)) return false;
  const WordKind kind = word.meaning.kind;
  return (kind == WordKind::kOther || kind == WordKind::kNumber) && word.size() > 1 &&
         !IsCommon(content_.word(i));
}

/// Behind the last of the capitalised words that stand side by side from `i`.
std::size_t FiveWs::name_end(std::size_t i) const {
  std::size_t end = i + 1;
  while (end < content_.size() && end - i < kMaxNameWords && content_.gap(end - 1) == " " &&
         is_name(end)) {
    ++end;
  }
  return end;
}

/// "Anna Smith: …" at the very start.
std::size_t FiveWs::read_speaker() {
  if (content_.size() == 0 || !content_[0].capital || content_[0].begin != 0) return 0;
  const std::size_t end = name_end(0);
  const std::string_view gap = content_.gap(end - 1);
  if (!gap.starts_with(':') || (gap.size() == 1 && end < content_.size())) return 0;
  add(Web::kWho, content_.text().substr(0, content_[end - 1].end), 0);
  return end;
}

/// "@anna" and "anna@example.org"; the words that belong to it, 0 for none.
std::size_t FiveWs::read_address(std::size_t i) {
  const std::string_view text = content_.text();
  const std::size_t at = content_[i].begin > 0 && content_.before(i) == '@'
                             ? content_[i].begin - 1
                             : std::string_view::npos;
  if (at == std::string_view::npos) return 0;
  std::size_t from = at;
  while (from > 0 && at - from < kMaxTermBytes && IsAddressChar(text[from - 1])) {
    --from;
  }
  std::size_t to = at + 1;
  while (to < text.size() && to - at < kMaxTermBytes && IsAddressChar(text[to])) {
    ++to;
  }
  constexpr std::string_view kNotLast = ".-_+";  // punctuation of the sentence rather
  while (to > at + 1 && kNotLast.contains(text[to - 1])) {
    --to;
  }
  const std::string_view domain = text.substr(at + 1, to - at - 1);
  if (from == at) {
    add(Web::kWho, domain, static_cast<std::uint32_t>(at));
  } else if (domain.contains('.')) {
    add(Web::kWho, text.substr(from, to - from), static_cast<std::uint32_t>(from));
  }
  std::size_t words = 0;
  while (i + words < content_.size() && content_[i + words].begin < to) {
    ++words;
  }
  return words;
}

/// The name that begins at word `i`; the words that belong to it.
std::size_t FiveWs::read_names(std::size_t i) {
  const std::size_t end = name_end(i);
  add(Web::kWho,
      Bare(content_.text().substr(content_[i].begin, content_[end - 1].end - content_[i].begin)),
      content_[i].begin);
  return end - i;
}

/// The place behind the cue at word `i`: a name, or one word, an article before it left out.
void FiveWs::read_place(std::size_t i) {
  std::size_t place = i + 1;
  if (place < content_.size() && content_.gap(i) == " " && IsArticle(content_.word(place))) ++place;
  if (place >= content_.size() || content_.gap(place - 1) != " " || content_[place].digit ||
      is_date(place) || content_[place].size() < 2 ||
      content_[place].meaning.kind != WordKind::kOther || IsCommon(content_.word(place))) {
    return;
  }
  const std::size_t end = is_name(place) ? name_end(place) : place + 1;
  const std::uint32_t from = content_[place].begin;
  add(Web::kWhere, Bare(content_.text().substr(from, content_[end - 1].end - from)), from);
}

/// The clause behind the cue at word `i`.
void FiveWs::read_cause(std::size_t i) {
  std::size_t first = i + 1;
  constexpr std::string_view kLinks[] = {"by", "to", "of"};
  if (first < content_.size() && content_.gap(i) == " " &&
      std::ranges::any_of(
          kLinks,
          [&](std::string_view link) { return EqualsIgnoreCase(link, content_.word(first)); })) {
    ++first;
  }
  if (first >= content_.size() || content_.gap(first - 1) != " " || is_date(first)) {
    return;  // "since 2020" is a time
  }
  std::size_t last = first;
  const std::uint32_t from = content_[first].begin;
  while (last + 1 < content_.size() && content_[last + 1].end - from <= kMaxClauseBytes &&
         content_.gap(last).find_first_of(",;:!?()\n") == std::string_view::npos &&
         !content_[last + 1].starts_sentence) {
    ++last;
  }
  add(Web::kWhy, content_.text().substr(from, content_[last].end - from), from);
}

void FiveWs::read(std::string_view content, std::string_view topic, std::uint64_t written) {
  names_.clear();
  terms_.clear();
  dates_.clear();
  content_.read(content);
  dated_.assign(content_.size(), 0);
  read_dates(content_, written, false);
  if (dates_.empty() && topic.find_first_of("0123456789") != std::string_view::npos) {
    topic_.read(topic);
    read_dates(topic_, 0, true);
  }
  for (std::size_t i = read_speaker(); i < content_.size();) {
    const ScannedWord& word = content_[i];
    if (content_.before(i) == '@') {
      i += std::max<std::size_t>(read_address(i), 1);
      continue;
    }
    const WordMeaning meaning = word.meaning;
    if (meaning.kind == WordKind::kPlaceCue) {
      read_place(i);
      // "in Berlin" names no person; "from Anna" may.
      const bool place =
          meaning.value == 0 && i + 1 < content_.size() && is_name(i + 1) && content_.gap(i) == " ";
      i = place ? name_end(i + 1) : i + 1;
      continue;
    }
    if (meaning.kind == WordKind::kCauseCue) read_cause(i);
    i += word.capital && !word.starts_sentence && is_name(i) ? read_names(i) : 1;
  }
}

}  // namespace mrb::memory
