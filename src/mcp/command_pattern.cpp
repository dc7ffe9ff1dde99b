#include "mcp/command_pattern.h"

namespace mrb::mcp {
namespace {

/// Writes the place that begins `pattern` behind its "%" and takes it off, its closing "%" too.
/// False when its argument is absent and has no other value.
bool ExpandPlace(std::string_view& pattern, const Arguments& arguments, std::string& out) {
  const auto end = pattern.find('%');
  std::string_view place = pattern.substr(0, end);
  pattern.remove_prefix(end + 1);
  const bool silent = place.starts_with('?');
  const bool word = place.starts_with('@');
  if (silent || word) place.remove_prefix(1);
  const auto equals = place.find('=');
  const std::string& value = arguments.get(place.substr(0, equals));
  if (!silent) out += word ? PlainOrTagged(place, value) : value;
  if (!value.empty()) return true;
  if (equals == std::string_view::npos) return false;
  out += place.substr(equals + 1);
  return true;
}

}  // namespace

std::string PlainOrTagged(std::string_view name, std::string_view text) {
  if (text.find_first_of(" \t\"'<") == std::string_view::npos) return std::string(text);
  std::string tagged = "<";
  tagged.append(name).append(">").append(text).append("</").append(name).append(">");
  return tagged;
}

std::string ExpandPattern(std::string_view pattern, const Arguments& arguments) {
  std::string out;
  std::size_t group = 0;  // where the open group begins in `out`
  bool complete = true;   // so far, of that group
  while (!pattern.empty()) {
    const char c = pattern.front();
    pattern.remove_prefix(1);
    if (c == '%') {
      complete &= ExpandPlace(pattern, arguments, out);
    } else if (c == '[') {
      group = out.size();
      complete = true;
    } else if (c == ']') {
      if (!complete) out.resize(group);
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace mrb::mcp
