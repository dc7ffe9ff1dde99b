#include "memory/verbs/verb_table.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "common/answer.h"
#include "common/text.h"
#include "memory/record/memo_types.h"
#include "platform/paths.h"

namespace mrb::memory {

namespace {

bool Names(std::string_view list, std::string_view verb) {
  return std::ranges::any_of(SplitWords(list),
                             [&](std::string_view name) { return EqualsIgnoreCase(name, verb); });
}

/// What a reader of the manual wants first, which cuts across the families.
constexpr std::string_view kManualOrder =
    "add addmemo memos getmemo deletememo retrieve keywords delete striptotokens indexdir query "
    "contexts w5 who update stats recent lint search export import rename purge archive clone "
    "temporal chain semantic embed w5build models cachekeys cachekey modelkeywords forgetmodel "
    "help";

/// Verbs that the order does not name stand at the end, by their names.
std::vector<VerbRow> JoinFamilies() {
  std::vector<VerbRow> rows;
  for (const auto family : {AddVerbs, EditVerbs, ReadVerbs, SearchVerbs, QueryVerbs, MoveVerbs,
                            CopyVerbs, IndexDirVerbs, WebVerbs, TimeVerbs, EmbedVerbs, W5BuildVerbs,
                            ModelVerbs, CacheKeyVerbs, AboutVerbs}) {
    rows.insert(rows.end(), family().begin(), family().end());
  }
  const auto order = SplitWords(kManualOrder);
  std::ranges::sort(rows, {}, [&](const VerbRow& row) {
    return std::pair(std::ranges::find(order, row.verb), row.verb);
  });
  return rows;
}

}  // namespace

std::span<const VerbRow> VerbRows() {
  static const std::vector<VerbRow> kRows = JoinFamilies();
  return kRows;
}

const VerbRow* FindVerb(std::string_view verb) {
  const auto rows = VerbRows();
  const auto row = std::ranges::find_if(rows, [&](const VerbRow& candidate) {
    return EqualsIgnoreCase(candidate.verb, verb) || Names(candidate.aliases, verb) ||
           Names(candidate.siblings, verb);
  });
  return row == rows.end() ? nullptr : &*row;
}

Result<std::string> VerbCall::full_path(std::string_view path) const {
  if (platform::IsAbsolutePath(path)) return std::string(path);
  const CallerFolder folder = options.folder ? options.folder() : CallerFolder();
  if (folder.is_known()) return platform::JoinPath(folder.path, path);
  return Fail(ErrorKind::kInvalidArgument, std::string(folder.objection()));
}

void VerbCall::progress(const std::string& text) const {
  if (options.progress) options.progress("memory." + std::string(verb) + ": " + text);
}

std::string UsageError(const VerbCall& call) {
  if (!call.row.usage_error.empty()) {
    return ErrorAnswer("usage  " + std::string(call.row.usage_error));
  }
  return ErrorAnswer("usage  memory." + std::string(call.verb) +
                     " <botid>, <context>, <arg>   (memory.help shows the manual)");
}

std::string PropsUsageError(const VerbCall& call) {
  return UsageError(call) + "\n       props (|-combine, or leave empty): " + MemoTypeNames();
}

}  // namespace mrb::memory
