#include "memory/text/inflections.h"

#include <algorithm>

namespace mrb::memory {

namespace {

bool IsLetter(char c) {
  return c >= 'a' && c <= 'z';
}

std::string Joined(std::string_view base, std::string_view ending) {
  return std::string(base).append(ending);
}

/// What is left of `word` without `ending`; empty when it does not end so or too little is left.
std::string_view Without(std::string_view word, std::string_view ending) {
  const bool fits = word.ends_with(ending) && word.size() >= ending.size() + kMinBaseBytes;
  return fits ? word.substr(0, word.size() - ending.size()) : std::string_view();
}

void AppendBases(std::string_view word, std::vector<std::string>& out) {
  struct Rule {
    std::string_view ending;
    std::string_view instead;
  };
  static constexpr Rule kRules[] = {{"s", ""},    {"es", ""}, {"ies", "y"}, {"ing", ""},
                                    {"ing", "e"}, {"ed", ""}, {"ed", "e"}};
  for (const Rule& rule : kRules) {
    if (const std::string_view base = Without(word, rule.ending); !base.empty()) {
      out.push_back(Joined(base, rule.instead));
    }
  }
}

void AppendDerived(std::string_view word, std::vector<std::string>& out) {
  if (word.size() < kMinBaseBytes) return;
  const std::string_view stem = word.substr(0, word.size() - 1);
  out.push_back(Joined(word, "s"));
  out.push_back(Joined(word, "es"));
  out.push_back(Joined(word, "ing"));
  out.push_back(Joined(word, "ed"));
  if (word.back() == 'y') {
    out.push_back(Joined(stem, "ies"));
  } else if (word.back() == 'e') {
    out.push_back(Joined(stem, "ing"));
    out.push_back(Joined(word, "d"));
  }
}

}  // namespace

void AppendInflections(std::string_view word, std::vector<std::string>& out) {
  if (word.size() <= kMaxWordBytes && std::ranges::all_of(word, IsLetter)) {
    AppendBases(word, out);
    AppendDerived(word, out);
  }
}

std::string BareForm(std::string_view word) {
  std::string bare;
  std::size_t cuts = 0;
  bool cutting = false;
  for (const char c : word.substr(0, kMaxWordBytes)) {
    const bool cut = c == '.' || (c >= '0' && c <= '9');
    cuts += cut && !cutting ? 1 : 0;
    cutting = cut;
    if (!cut) bare.push_back(c);
  }
  const bool is_word = word.size() <= kMaxWordBytes && cuts <= kMaxCuts;
  return is_word && bare.size() >= kMinBareBytes ? bare : std::string();
}

}  // namespace mrb::memory
