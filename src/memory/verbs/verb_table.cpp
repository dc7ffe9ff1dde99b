#include "memory/verbs/verb_table.h"

#include <algorithm>

#include "common/answer.h"
#include "common/text.h"
#include "platform/paths.h"

namespace mrb::memory {

namespace {

bool Names(std::string_view list, std::string_view verb) {
  return std::ranges::any_of(SplitWords(list),
                             [&](std::string_view name) { return EqualsIgnoreCase(name, verb); });
}

}  // namespace

const VerbRow* FindVerb(std::string_view verb) {
  const auto rows = VerbRows();
  const auto row = std::ranges::find_if(rows, [&](const VerbRow& candidate) {
    return EqualsIgnoreCase(candidate.verb, verb) || Names(candidate.aliases, verb) ||
           Names(candidate.siblings, verb);
  });
  return row == rows.end() ? nullptr : &*row;
}

std::string VerbCall::full_path(std::string_view path) const {
  const bool relative = !platform::IsAbsolutePath(path) && options.working_directory;
  return relative ? platform::JoinPath(options.working_directory(), path) : std::string(path);
}

void VerbCall::progress(const std::string& text) const {
  if (options.progress) options.progress("memory." + std::string(verb) + ": " + text);
}

std::string GenericUsageError(const VerbCall& call) {
  return ErrorAnswer("usage  memory." + std::string(call.verb) +
                     " <botid>, <context>, <arg>   (memory.help shows the manual)");
}

}  // namespace mrb::memory
