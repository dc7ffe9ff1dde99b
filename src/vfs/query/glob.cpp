#include "query/glob.h"

#include <cstddef>

namespace mrb::query {
namespace {

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

bool Matches(std::string_view glob, std::string_view text) {
  std::size_t at = 0;    // in the glob
  std::size_t read = 0;  // in the text
  std::size_t star = std::string_view::npos;
  std::size_t resume = 0;  // where the text after the last "*" is tried next
  while (read < text.size()) {
    if (at < glob.size() && glob[at] == '*') {
      star = at++;
      resume = read;
    } else if (at < glob.size() && (glob[at] == '?' || Lower(glob[at]) == Lower(text[read]))) {
      ++at;
      ++read;
    } else if (star != std::string_view::npos) {
      at = star + 1;
      read = ++resume;
    } else {
      return false;
    }
  }
  return glob.find_first_not_of('*', at) == std::string_view::npos;
}

}  // namespace mrb::query
