#include "vfs/query/glob.h"

#include <algorithm>
#include <cstddef>

namespace mrb::query {
namespace {

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool Fits(char wanted, char byte) {
  return wanted == '?' || Lower(wanted) == Lower(byte);
}

/// For globs without "*".
bool FitsEachByte(std::string_view glob, std::string_view text) {
  return std::ranges::equal(glob, text, Fits);
}

/// For globs that end with "*".
bool FitsBeginning(std::string_view glob, std::string_view text) {
  std::size_t at = 0;    // in the glob
  std::size_t read = 0;  // in the text
  std::size_t star = std::string_view::npos;
  std::size_t resume = 0;  // where the text after the last "*" is tried next
  while (at + 1 < glob.size()) {
    if (glob[at] == '*') {
      star = at++;
      resume = read;
    } else if (read < text.size() && Fits(glob[at], text[read])) {
      ++at;
      ++read;
    } else if (read < text.size() && star != std::string_view::npos) {
      at = star + 1;
      read = ++resume;
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace

bool Matches(std::string_view glob, std::string_view text) {
  if (!glob.contains('*')) return FitsEachByte(glob, text);
  const std::size_t last_star = glob.rfind('*');
  // What follows it ends the text: that alone turns most texts down.
  const std::string_view end = glob.substr(last_star + 1);
  if (text.size() < end.size()) return false;
  const std::size_t rest = text.size() - end.size();
  return FitsEachByte(end, text.substr(rest)) &&
         FitsBeginning(glob.substr(0, last_star + 1), text.substr(0, rest));
}

}  // namespace mrb::query
