// contexts and browse: the lineup, and what one context of it holds.

#include "common/answer.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/verb_table.h"
#include "platform/paths.h"

namespace mrb::memory {

namespace {

std::string number(std::uint64_t value) {
  return std::to_string(value);
}

void append_listed(std::string& out, const ContextRegistry::Listed& context) {
  out.append("\n  ").append(context.id).append("  ");
  if (context.loaded) {
    out += number(context.topics) + " topic(s), " + number(context.bytes) + " bytes (loaded)";
    return;
  }
  out += number(context.bytes) + " bytes on disk (not loaded";
  out += context.legacy ? ", pre-MRB4: imports on first touch)" : ")";
}

std::string list_contexts(const VerbCall& call) {
  const auto listed = call.contexts.list();
  if (!listed) {
    return ErrorAnswer(listed.error().text);
  }
  std::string answer = OkAnswer(number(listed->size()) + " context(s) under " +
                                platform::NativePath(call.contexts.contexts_folder()));
  for (const ContextRegistry::Listed& context : *listed) {
    append_listed(answer, context);
  }
  if (listed->empty()) {
    answer +=
        "\n  (none yet — memory.add <botid>, {ctx}, <topic>, , <content> creates the first)\n";
  }
  return answer;
}

std::string browse(const VerbCall& call, std::string_view context) {
  const auto access = call.contexts.read(context);
  if (!access) {
    return ErrorAnswer(access.error().text);
  }
  const ContextIndex& index = access->store->index();
  const TopicTable& topics = index.topics();
  std::string answer =
      OkAnswer("context '" + std::string(context) + "' — " + number(topics.size()) + " topic(s)");
  if (topics.size() == 0) {
    return answer + "\n  (empty — memory.add puts the first record here)\n";
  }
  for (std::uint32_t topic = 0; topic < topics.size(); ++topic) {
    answer.append("\n  ").append(topics.name(topic)).append("  ");
    answer += number(topics.rows(topic).size()) + " memo(s)";
  }
  return answer + "\n" + number(index.keywords().size()) + " keyword(s), " +
         number(access->store->heap().used()) + " bytes";
}

}  // namespace

std::string RunContexts(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 2);
  return fields.size() < 2 || fields[1].empty() ? list_contexts(call) : browse(call, fields[1]);
}

}  // namespace mrb::memory
