#include "vfs/grep/grep_options.h"

#include <algorithm>
#include <array>
#include <utility>

#include "common/text.h"
#include "vfs/grep/grep_words.h"

namespace mrb::vfs {
namespace {

constexpr std::string_view kSearchUsage =
    "usage  grep [-i] [-w] [-F] [-v] [-l|-L|-c|-o] [-m n] [-A n] [-B n] [-C n] [-e pattern] "
    "[--version=n | --all-versions] [--include=glob] [--exclude=glob] [--store=dir] <pattern> "
    "[path-glob…]";
constexpr std::string_view kEditUsage =
    "usage  grep:edit [-i] [-w] [-F] [--include=glob] [--exclude=glob] [--store=dir] [--apply] "
    "<pattern> <replacement> [path-glob…]";

/// More context than anybody reads.
constexpr std::uint64_t kMaxContext = 1000;

/// Sets what a flag stands for; false for a value that it cannot have.
using Apply = bool (*)(GrepOptions&, const std::string& value);

struct Flag {
  char letter;  ///< 0: none
  std::string_view name;
  bool takes_value;
  bool of_edit;  ///< an edit knows it too
  Apply apply;
};

std::optional<std::size_t> ContextLines(const std::string& value) {
  const auto count = ParseDecimal(value);
  if (!count) return std::nullopt;
  return static_cast<std::size_t>(std::min(*count, kMaxContext));
}

template <GrepShow kShow>
bool Show(GrepOptions& options, const std::string& /*value*/) {
  options.show = kShow;
  return true;
}

/// What other programs need to be told and this one does anyway.
bool Nothing(GrepOptions& /*options*/, const std::string& /*value*/) {
  return true;
}

bool SetContext(GrepOptions& options, const std::string& value, bool before, bool after) {
  const auto count = ContextLines(value);
  if (count && before) options.before = *count;
  if (count && after) options.after = *count;
  return count.has_value();
}

constexpr std::array kFlags{
    Flag{'i', "ignore-case", false, true,
         [](GrepOptions& o, const std::string&) { return o.engine.ignore_case = true; }},
    Flag{'w', "word-regexp", false, true,
         [](GrepOptions& o, const std::string&) { return o.engine.whole_words = true; }},
    Flag{'F', "fixed-strings", false, true,
         [](GrepOptions& o, const std::string&) { return o.engine.literal = true; }},
    Flag{'v', "invert-match", false, false,
         [](GrepOptions& o, const std::string&) { return o.invert = true; }},
    Flag{'l', "files-with-matches", false, false, &Show<GrepShow::kPaths>},
    Flag{'p', "paths", false, false, &Show<GrepShow::kPaths>},
    Flag{'L', "files-without-match", false, false, &Show<GrepShow::kPathsWithout>},
    Flag{'c', "count", false, false, &Show<GrepShow::kCounts>},
    Flag{'o', "only-matching", false, false, &Show<GrepShow::kMatches>},
    Flag{'m', "max-count", true, false,
         [](GrepOptions& o, const std::string& value) {
           const auto count = ParseDecimal(value);
           if (count) o.most = *count;
           return count.has_value();
         }},
    Flag{
        'A', "after-context", true, false,
        [](GrepOptions& o, const std::string& value) { return SetContext(o, value, false, true); }},
    Flag{
        'B', "before-context", true, false,
        [](GrepOptions& o, const std::string& value) { return SetContext(o, value, true, false); }},
    Flag{'C', "context", true, false,
         [](GrepOptions& o, const std::string& value) { return SetContext(o, value, true, true); }},
    Flag{'e', "regexp", true, true,
         [](GrepOptions& o, const std::string& value) {
           o.pattern = value;
           return true;
         }},
    Flag{'n', "line-number", false, true, &Nothing},
    Flag{'H', "with-filename", false, true, &Nothing},
    Flag{'r', "recursive", false, true, &Nothing},
    Flag{'R', "dereference-recursive", false, true, &Nothing},
    Flag{'E', "extended-regexp", false, true, &Nothing},
    Flag{'I', "", false, true, &Nothing},
    Flag{'s', "no-messages", false, true, &Nothing},
    Flag{0, "version", true, false,
         [](GrepOptions& o, const std::string& value) {
           const auto number = ParseDecimal(value.starts_with('v') ? value.substr(1) : value);
           if (number && *number > 0 && *number <= UINT32_MAX) {
             o.version = static_cast<std::uint32_t>(*number);
           }
           return o.version.has_value();
         }},
    Flag{0, "all-versions", false, false,
         [](GrepOptions& o, const std::string&) { return o.all_versions = true; }},
    Flag{0, "include", true, true,
         [](GrepOptions& o, const std::string& value) {
           o.include.push_back(value);
           return true;
         }},
    Flag{0, "exclude", true, true,
         [](GrepOptions& o, const std::string& value) {
           o.exclude.push_back(value);
           return true;
         }},
    Flag{0, "store", true, true,
         [](GrepOptions& o, const std::string& value) {
           o.store = value;
           return true;
         }},
    Flag{0, "apply", false, true,
         [](GrepOptions& o, const std::string&) { return o.apply = true; }},
};

class GrepParser {
 public:
  GrepParser(std::string_view line, GrepCommand command)
      : words_(SplitGrepWords(line)), command_(command) {}

  Result<GrepOptions> run() {
    for (at_ = 0; at_ < words_.size(); ++at_) {
      const GrepWord& word = words_[at_];
      if (!flags_ended_ && !word.quoted && word.text == "--") {
        flags_ended_ = true;
      } else if (!flags_ended_ && is_long_flag(word)) {
        if (Status taken = take_long(word.text.substr(2)); !taken)
          return std::unexpected(taken.error());
      } else if (!flags_ended_ && !word.quoted && word.text.size() > 1 && word.text[0] == '-') {
        if (Status taken = take_letters(word.text); !taken) return std::unexpected(taken.error());
      } else {
        plain_.push_back(word.text);
      }
    }
    return placed();
  }

 private:
  [[nodiscard]] std::unexpected<Error> wrong(const std::string& reason) const {
    const std::string_view usage = command_ == GrepCommand::kEdit ? kEditUsage : kSearchUsage;
    return Fail(ErrorKind::kInvalidArgument,
                (reason.empty() ? "" : reason + "\n") + std::string(usage));
  }

  /// In quotes it is one only when it holds a value: --store="a b" comes as "--store=a b".
  static bool is_long_flag(const GrepWord& word) {
    if (!word.text.starts_with("--") || word.text.size() == 2) return false;
    if (!word.quoted) return true;
    const std::string_view name = std::string_view(word.text).substr(2, word.text.find('=') - 2);
    return word.text.contains('=') && std::ranges::find(kFlags, name, &Flag::name) != kFlags.end();
  }

  Status apply(const Flag* flag, const std::string& shown, const std::string& value) {
    const bool known =
        flag != nullptr && (command_ == GrepCommand::kEdit ? flag->of_edit : flag->name != "apply");
    if (!known) return wrong("unknown flag " + shown);
    if (flag->letter == 'e') has_pattern_ = true;
    if (!flag->apply(options_, value)) return wrong("bad value of " + shown + ": '" + value + "'");
    return {};
  }

  Status take_long(const std::string& text) {
    const std::size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    const auto* const flag = std::ranges::find(kFlags, name, &Flag::name);
    if (flag == kFlags.end() || name.empty()) return wrong("unknown flag --" + name);
    std::string value = equals == std::string::npos ? "" : text.substr(equals + 1);
    if (flag->takes_value && equals == std::string::npos) {
      if (++at_ == words_.size()) return wrong("--" + name + " needs a value");
      value = words_[at_].text;
    }
    return apply(&*flag, "--" + name, value);
  }

  /// "-il", "-C3" and "-C 3".
  Status take_letters(std::string_view text) {
    text.remove_prefix(1);
    while (!text.empty()) {
      const char letter = text[0];
      text.remove_prefix(1);
      const auto* const flag = std::ranges::find(kFlags, letter, &Flag::letter);
      const std::string shown = std::string("-") + letter;
      if (flag == kFlags.end() || letter == 0) return wrong("unknown flag " + shown);
      std::string value;
      if (flag->takes_value) {
        value = std::exchange(text, {});
        if (value.empty() && ++at_ == words_.size()) return wrong(shown + " needs a value");
        if (value.empty()) value = words_[at_].text;
      }
      if (Status taken = apply(&*flag, shown, value); !taken) return taken;
    }
    return {};
  }

  Result<GrepOptions> placed() {
    std::size_t used = 0;
    const auto next = [&]() -> std::string { return plain_[used++]; };
    const std::size_t wanted =
        (has_pattern_ ? 0U : 1U) + (command_ == GrepCommand::kEdit ? 1U : 0U);
    if (plain_.size() < wanted) return wrong("");
    if (!has_pattern_) options_.pattern = next();
    if (command_ == GrepCommand::kEdit) options_.replacement = next();
    options_.paths.assign(plain_.begin() + static_cast<std::ptrdiff_t>(used), plain_.end());
    if (options_.version && options_.all_versions) {
      return wrong("--version and --all-versions exclude each other");
    }
    return std::move(options_);
  }

  std::vector<GrepWord> words_;
  GrepCommand command_;
  GrepOptions options_;
  std::vector<std::string> plain_;
  std::size_t at_ = 0;
  bool has_pattern_ = false;
  bool flags_ended_ = false;
};

}  // namespace

Result<GrepOptions> ParseGrep(std::string_view line, GrepCommand command) {
  return GrepParser(line, command).run();
}

}  // namespace mrb::vfs
