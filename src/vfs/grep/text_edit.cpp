#include "vfs/grep/text_edit.h"

namespace mrb::vfs {

Result<EditRule> MakeEditRule(std::string_view pattern, const search::PatternOptions& options,
                              const std::string& replacement) {
  auto matcher = search::Matcher::make(pattern, options);
  if (!matcher) return std::unexpected(matcher.error());
  const auto parsed = search::ParsePattern(pattern, options);
  if (!parsed) return std::unexpected(parsed.error());
  auto groups = search::Compile(*parsed, search::Groups::kMarked);
  if (!groups) return std::unexpected(groups.error());
  auto text = options.literal ? Replacement::literal(replacement)
                              : Replacement::parse(replacement, parsed->groups);
  if (!text) return std::unexpected(text.error());
  return EditRule{*std::move(matcher), *std::move(groups), *std::move(text)};
}

bool TextEdit::edit_line(std::string_view line, std::string& out, std::uint64_t& count) {
  std::size_t copied = 0;
  const bool all = search_.spans(line, [&](search::Span span) {
    out += line.substr(copied, span.begin - copied);
    copied = span.end;
    ++count;
    search::Submatches::Spans groups;
    groups[0] = span;
    if (rule_.replacement.uses_groups()) groups = submatches_.find(line, span);
    rule_.replacement.append(out, line, groups);
  });
  out += line.substr(copied);
  return all;
}

std::optional<EditedText> TextEdit::run(std::string_view text) {
  EditedText edited;
  std::size_t copied = 0;
  bool all = true;
  search_.search(text, [&](const search::LineMatch& match) {
    const auto begin = static_cast<std::size_t>(match.line.data() - text.data());
    edited.text += text.substr(copied, begin - copied);
    copied = begin + match.line.size();
    const std::size_t new_begin = edited.text.size();
    all = edit_line(match.line, edited.text, edited.count);
    const std::string_view new_line = std::string_view(edited.text).substr(new_begin);
    if (new_line != match.line) {
      const std::string number = "  " + std::to_string(match.number);
      edited.lines.append(number).append("- ").append(match.line).append("\n");
      edited.lines.append(number).append("+ ").append(new_line).append("\n");
    }
    return all;
  });
  if (!all) return std::nullopt;
  edited.text += text.substr(copied);
  if (edited.lines.empty()) edited.count = 0;
  return edited;
}

}  // namespace mrb::vfs
