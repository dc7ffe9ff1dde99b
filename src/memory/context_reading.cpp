#include "memory/context_reading.h"

#include "common/answer.h"
#include "memory/fields.h"

namespace mrb::memory {

std::expected<ContextReading, std::string> ReadContext(const VerbCall& call, std::size_t fields) {
  auto found = SplitFields(call.rest, fields);
  if (found.size() < fields) return std::unexpected(GenericUsageError(call));
  auto access = call.contexts.read(found[1]);
  if (!access) return std::unexpected(ErrorAnswer(access.error().text));
  return ContextReading{std::move(found), *std::move(access)};
}

}  // namespace mrb::memory
