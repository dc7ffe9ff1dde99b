#include "memory/verb_table.h"

#include <algorithm>

#include "common/answer.h"
#include "common/text.h"

namespace mrb::memory {

namespace {

bool names(std::string_view list, std::string_view verb) {
  return std::ranges::any_of(SplitWords(list),
                             [&](std::string_view name) { return EqualsIgnoreCase(name, verb); });
}

}  // namespace

const VerbRow* FindVerb(std::string_view verb) {
  const auto rows = VerbRows();
  const auto row = std::ranges::find_if(rows, [&](const VerbRow& candidate) {
    return EqualsIgnoreCase(candidate.verb, verb) || names(candidate.aliases, verb) ||
           names(candidate.siblings, verb);
  });
  return row == rows.end() ? nullptr : &*row;
}

std::string GenericUsageError(const VerbCall& call) {
  return ErrorAnswer("usage  memory." + std::string(call.verb) +
                     " <botid>, <context>, <arg>   (memory.help shows the manual)");
}

}  // namespace mrb::memory
