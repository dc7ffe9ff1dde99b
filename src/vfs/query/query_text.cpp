#include "vfs/query/query_text.h"

#include "common/text.h"

namespace mrb::query {
namespace {

/// Where "--store=" stands behind a ")", outside strings; the text's size when nowhere. In an
/// expression it could not stand.
std::size_t OptionsIn(std::string_view text) {
  bool in_string = false;
  bool after_bracket = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (c == '"') in_string = !in_string;
    if (in_string) continue;
    if (after_bracket && text.substr(at).starts_with("--store=")) return at;
    if (c != ' ' && c != '\t') after_bracket = c == ')';
  }
  return text.size();
}

}  // namespace

QueryText SplitQuery(std::string_view line) {
  constexpr std::string_view kOpen = "?(";
  line.remove_prefix(kOpen.size());
  const std::size_t options = OptionsIn(line);
  QueryText query;
  query.options = Trim(line.substr(options));
  query.expression = Trim(line.substr(0, options));
  query.closed = query.expression.ends_with(')');
  if (query.closed) query.expression.remove_suffix(1);
  query.expression = Trim(query.expression);
  return query;
}

}  // namespace mrb::query
