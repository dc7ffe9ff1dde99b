#pragma once

#include <cstddef>
#include <expected>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "memory/verbs/verb_table.h"

namespace mrb::memory {

/// The fields of a verb, and the context that the second of them names, open for reading.
struct ContextReading {
  std::vector<std::string_view> fields;
  ReadAccess access;
};

/// What most verbs that only read begin with. `fields` is how many the verb takes, the last with
/// all that remains; the error, with fewer of them or without such a context, is a whole answer.
[[nodiscard]] std::expected<ContextReading, std::string> ReadContext(const VerbCall& call,
                                                                     std::size_t fields);

/// The same, of a verb whose third field names a topic that has memos.
struct TopicReading {
  ContextReading reading;
  std::span<const std::uint32_t> rows;  ///< of the topic's memos, by number
};
[[nodiscard]] std::expected<TopicReading, std::string> ReadTopic(const VerbCall& call,
                                                                 std::size_t fields);

}  // namespace mrb::memory
