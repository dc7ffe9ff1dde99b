#include "vfs/policy/extension_filter.h"

#include <algorithm>

#include "common/text.h"
#include "vfs/model/reserved_names.h"
#include "vfs/policy/extension_sets.h"

namespace mrb::vfs {
namespace {

// More than anybody writes by hand; a list is looked through for every file of a tree.
constexpr std::size_t kMaxEndings = 256;
constexpr std::size_t kMaxEnding = 64;

constexpr std::string_view kBuiltIn = "default";

std::unexpected<Error> Wrong(std::string text) {
  return Fail(ErrorKind::kInvalidArgument, std::move(text));
}

/// What can stand in a name, and in one word of a policy line.
bool IsEndingByte(char c) {
  constexpr std::string_view kOutside = "/\\:*?\"<>|,";
  return static_cast<unsigned char>(c) > ' ' && c != '\x7F' &&
         kOutside.find(c) == std::string_view::npos;
}

}  // namespace

Result<ExtensionFilter> ExtensionFilter::parse(std::string_view text) {
  const std::size_t colon = text.find(':');
  const std::string kind = LowerAscii(text.substr(0, colon));
  ExtensionFilter filter;
  if (kind == "none" && colon == std::string_view::npos) return filter;
  if (kind == "only") {
    filter.kind_ = Kind::kOnly;
  } else if (kind == "allbut") {
    filter.kind_ = Kind::kAllBut;
  } else {
    return Wrong("ext is none, only:<.e,..> or allbut:<.e,..>, not '" + std::string(text) + "'");
  }
  if (colon == std::string_view::npos) {
    filter.with_built_in_ = true;
    return filter;
  }
  for (const std::string_view ending : Split(text.substr(colon + 1), ',')) {
    if (const Status added = filter.add(ending); !added) return std::unexpected(added.error());
  }
  return filter;
}

Status ExtensionFilter::add(std::string_view given) {
  if (EqualsIgnoreCase(given, kBuiltIn)) {
    with_built_in_ = true;
    return {};
  }
  std::string_view ending = given;
  if (ending.starts_with("*.")) ending.remove_prefix(1);
  if (ending.starts_with('.')) ending.remove_prefix(1);
  if (ending.empty() || ending.size() > kMaxEnding || !std::ranges::all_of(ending, IsEndingByte)) {
    return Wrong("'" + std::string(given) + "' is no extension");
  }
  std::string added = "." + LowerAscii(ending);
  if (std::ranges::find(endings_, added) != endings_.end()) return {};
  if (endings_.size() == kMaxEndings) {
    return Wrong("more than " + std::to_string(kMaxEndings) + " extensions");
  }
  endings_.push_back(std::move(added));
  return {};
}

std::string ExtensionFilter::text() const {
  if (kind_ == Kind::kNone) return "none";
  std::string text = kind_ == Kind::kOnly ? "only" : "allbut";
  if (endings_.empty()) return text;
  std::vector<std::string> list = endings_;
  // The dot before every ending also tells ".default" from the word.
  if (with_built_in_) list.insert(list.begin(), std::string(kBuiltIn));
  return text.append(":").append(Join(list, ","));
}

bool ExtensionFilter::admits(std::string_view path, std::uint64_t bytes) const {
  if (kind_ == Kind::kNone) return true;
  const bool only = kind_ == Kind::kOnly;
  if (with_built_in_ && (only ? InIncludeSet(path, bytes) : InExcludeSet(path, bytes))) {
    return only;
  }
  if (endings_.empty()) return !only;
  const std::string name = LowerAscii(BaseName(path));
  const bool listed = std::ranges::any_of(
      endings_, [&name](const std::string& ending) { return name.ends_with(ending); });
  return listed == only;
}

}  // namespace mrb::vfs
