#include "memory/verbs/context_reading.h"

#include "common/answer.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_text.h"

namespace mrb::memory {

std::expected<ContextReading, std::string> ReadContext(const VerbCall& call, std::size_t fields) {
  auto found = SplitFields(call.rest, fields);
  if (found.size() < fields) return std::unexpected(UsageError(call));
  auto access = call.contexts.read(found[1]);
  if (!access) return std::unexpected(ErrorAnswer(access.error().text));
  return ContextReading{std::move(found), *std::move(access)};
}

std::expected<TopicReading, std::string> ReadTopic(const VerbCall& call, std::size_t fields) {
  auto reading = ReadContext(call, fields);
  if (!reading) return std::unexpected(reading.error());
  const auto rows = reading->access.store->index().topic_rows(reading->fields[2]);
  if (rows.empty()) return std::unexpected(NoTopicError(reading->fields[2], reading->fields[1]));
  return TopicReading{*std::move(reading), rows};
}

}  // namespace mrb::memory
