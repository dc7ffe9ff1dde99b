// w5build: a context organised by who, when, where and why instead of by the writer's topics.

#include <algorithm>
#include <array>

#include "common/answer.h"
#include "memory/record/context_id.h"
#include "memory/record/record_batch.h"
#include "memory/text/tokenizer.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_text.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

constexpr std::array<std::string_view, kWebs> kPrefixes = {"who_", "where_", "why_"};  // by Web
constexpr std::string_view kWhenPrefix = "when_";
constexpr std::uint64_t kProgressMemos = 100'000;

bool IsWTopic(std::string_view topic) {
  return topic.starts_with(kWhenPrefix) ||
         std::ranges::any_of(kPrefixes, [&](std::string_view p) { return topic.starts_with(p); });
}

bool HasWTopics(const TopicTable& topics) {
  for (std::uint32_t topic = 0; topic < topics.size(); ++topic) {
    if (IsWTopic(topics.name(topic))) return true;
  }
  return false;
}

/// Adds the rows of one memo, each term once.
class FrameRows {
 public:
  [[nodiscard]] Status add(const ContextIndex& index, std::uint32_t row) {
    const RecordView record = index.record(row);
    const std::string id = "[" + MemoId(index, row) + "] ";
    five_ws_.read(record.content, record.topic, record.written);
    TokenList done;
    for (const FiveWs::Term& term : five_ws_.terms()) {
      const std::string_view prefix = kPrefixes.at(static_cast<std::size_t>(term.web));
      const std::string topic = std::string(prefix).append(five_ws_.name(term));
      if (const Status added = add_once(done, topic, id, term.position, record); !added) {
        return added;
      }
    }
    for (const FiveWs::Date& date : five_ws_.dates()) {
      const std::string topic = std::string(kWhenPrefix).append(date.stamp.text());
      if (const Status added = add_once(done, topic, id, date.position, record); !added) {
        return added;
      }
    }
    return {};
  }

  [[nodiscard]] const RecordBatch& batch() const { return batch_; }

 private:
  [[nodiscard]] Status add_once(TokenList& done, const std::string& topic, const std::string& id,
                                std::uint32_t position, const RecordView& record) {
    if (!done.insert(topic)) {
      return {};
    }
    std::string content = id;
    content += five_ws_.sentence_at(position);
    std::ranges::replace(content, '\n', ' ');
    const TokenList keywords = BuildKeywordList({}, content);
    const auto words = keywords.views();
    return batch_.add({.props = 0,
                       .written = record.written,
                       .content = content,
                       .topic = topic,
                       .keywords = words,
                       .vector = {}});
  }

  FiveWs five_ws_;
  RecordBatch batch_;
};

std::string RunW5Build(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 2) return UsageError(call);
  const std::string context(fields[1]);
  const std::string shadow = context + "_w5";
  if (const Status good = CheckContextId(shadow); !good) return ErrorAnswer(good.error().text);
  // The shadow's id comes behind the context's, so this is the order of the locks.
  const auto source = call.contexts.read(context);
  if (!source) return ErrorAnswer(source.error().text);
  if (!source->context) return ErrorAnswer("no context '" + context + "'");
  auto target = call.contexts.write(shadow);
  if (!target) return ErrorAnswer(target.error().text);
  if (HasWTopics(target->store->index().topics())) {
    return ErrorAnswer("shadow '" + shadow +
                       "' already carries a W layer — delete its W topics to rebuild");
  }
  const ContextIndex& index = source->store->index();
  const std::uint64_t topics_before = target->store->index().topics().size();
  FrameRows rows;
  for (std::uint32_t row = 0; row < index.memos().size(); ++row) {
    if (const Status added = rows.add(index, row); !added) return ErrorAnswer(added.error().text);
    if ((row + 1) % kProgressMemos == 0) {
      call.progress(std::to_string(row + 1) + " of " + std::to_string(index.memos().size()) +
                    " memos read");
    }
  }
  if (rows.batch().count() > 0) {
    if (const auto added = target->store->exchange({}, rows.batch(), false); !added) {
      return ErrorAnswer("w5build of '" + shadow +
                         "' failed (disk rewrite refused): " + added.error().text);
    }
  }
  const std::uint64_t w_topics = target->store->index().topics().size() - topics_before;
  return OkAnswer("shadow '" + shadow + "' built — " + std::to_string(rows.batch().count()) +
                  " frame rows from " + std::to_string(index.memos().size()) + " memos across " +
                  std::to_string(index.topics().size()) + " topics (" + std::to_string(w_topics) +
                  " W topics)");
}

constexpr VerbRow kRows[] = {
    {.verb = "w5build",
     .usage = "memory.w5build <botid>, <context>, -",
     .summary =
         "Build the PARALLEL 5W-organized shadow context <context>_w5: topics are W tokens "
         "(who_x / when_yyyy-mm-dd / where_x / why_x), memos are '[srcTopic#n] sentence' rows.",
     .note = "An ordinary context afterwards — keyword-searchable, ?()-queryable, deletable to "
             "ditch the experiment.",
     .run = RunW5Build},
};

}  // namespace

std::span<const VerbRow> W5BuildVerbs() {
  return kRows;
}

}  // namespace mrb::memory
