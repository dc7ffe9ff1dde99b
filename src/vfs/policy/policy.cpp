#include "vfs/policy/policy.h"

#include <algorithm>
#include <array>

#include "common/text.h"
#include "vfs/model/size_text.h"

namespace mrb::vfs {
namespace {

std::unexpected<Error> Wrong(std::string text) {
  return Fail(ErrorKind::kInvalidArgument, std::move(text));
}

std::unexpected<Error> WrongValue(std::string_view flag, std::string_view expected,
                                  std::string_view value) {
  return Wrong(
      std::string(flag).append(" is ").append(expected).append(", not '").append(value).append(
          "'"));
}

Status ReadScope(std::string_view value, PolicyChange& change) {
  if (EqualsIgnoreCase(value, "all")) {
    change.scope = Policy::Scope::kAll;
  } else if (EqualsIgnoreCase(value, "edited")) {
    change.scope = Policy::Scope::kEdited;
  } else {
    return WrongValue("scope", "all or edited", value);
  }
  return {};
}

Status ReadExt(std::string_view value, PolicyChange& change) {
  auto filter = ExtensionFilter::parse(value);
  if (!filter) return std::unexpected(filter.error());
  change.ext = std::move(*filter);
  return {};
}

Status ReadWatch(std::string_view value, PolicyChange& change) {
  const bool on = EqualsIgnoreCase(value, "on");
  if (!on && !EqualsIgnoreCase(value, "off")) return WrongValue("watch", "on or off", value);
  change.watch = on;
  return {};
}

Status ReadMax(std::string_view value, PolicyChange& change) {
  const auto bytes = ParseSize(value);
  if (!bytes) return WrongValue("max", "a size such as 500mb or 1gb, 0 for no limit", value);
  change.max_bytes = bytes;
  return {};
}

Status ReadMode(std::string_view value, PolicyChange& change) {
  for (const auto mode : {Policy::Mode::kVersioned, Policy::Mode::kCacheWriteThrough}) {
    if (EqualsIgnoreCase(value, ModeName(mode))) {
      change.mode = mode;
      return {};
    }
  }
  return WrongValue("mode", "vc or cachewt", value);
}

Status ReadConfirm(std::string_view value, PolicyChange& change) {
  if (!EqualsIgnoreCase(value, "watchoff")) return WrongValue("confirm", "watchoff", value);
  change.confirms_watch_off = true;
  return {};
}

struct Flag {
  std::string_view name;
  Status (*read)(std::string_view value, PolicyChange& change);
};

constexpr std::array<Flag, 13> kFlags{{
    {"scope", ReadScope},
    {"ext", ReadExt},
    {"exts", ReadExt},
    {"extensions", ReadExt},
    {"watch", ReadWatch},
    {"oob", ReadWatch},
    {"max", ReadMax},
    {"maxsize", ReadMax},
    {"maxbytes", ReadMax},
    {"maxreposize", ReadMax},
    {"mode", ReadMode},
    {"cache", ReadMode},
    {"confirm", ReadConfirm},
}};

/// The flag that `word` names before its "="; null when it names none.
const Flag* FindFlag(std::string_view word) {
  const std::size_t equals = word.find('=');
  if (equals == std::string_view::npos) return nullptr;
  const auto* flag = std::ranges::find_if(kFlags, [&](const Flag& known) {
    return EqualsIgnoreCase(known.name, word.substr(0, equals));
  });
  return flag == kFlags.end() ? nullptr : flag;
}

}  // namespace

bool PolicyChange::is_empty() const {
  return !scope && !ext && !watch && !max_bytes && !mode && !confirms_watch_off;
}

Policy PolicyChange::applied_to(Policy policy) const {
  policy.scope = scope.value_or(policy.scope);
  if (ext) policy.ext = *ext;
  policy.watch = watch.value_or(policy.watch);
  policy.max_bytes = max_bytes.value_or(policy.max_bytes);
  policy.mode = mode.value_or(policy.mode);
  return policy;
}

bool IsPolicyFlag(std::string_view word) {
  return FindFlag(word) != nullptr;
}

Result<PolicyChange> ParsePolicy(std::string_view flags) {
  PolicyChange change;
  for (const std::string_view word : SplitWords(flags)) {
    const Flag* flag = FindFlag(word);
    if (flag == nullptr) return Wrong("unknown flag '" + std::string(word) + "'");
    const Status read = flag->read(word.substr(word.find('=') + 1), change);
    if (!read) return std::unexpected(read.error());
  }
  return change;
}

std::string FormatPolicy(const Policy& policy) {
  return std::string("scope=")
      .append(policy.scope == Policy::Scope::kAll ? "all" : "edited")
      .append(" ext=")
      .append(policy.ext.text())
      .append(" watch=")
      .append(policy.watch ? "on" : "off")
      .append(" max=")
      .append(FormatSize(policy.max_bytes))
      .append(" mode=")
      .append(ModeName(policy.mode));
}

std::string_view ModeName(Policy::Mode mode) {
  return mode == Policy::Mode::kVersioned ? "vc" : "cachewt";
}

}  // namespace mrb::vfs
