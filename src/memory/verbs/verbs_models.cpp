// models, modelkeywords and forgetmodel: what model types keep of a context, and recall by it.

#include <algorithm>
#include <array>
#include <cstdio>

#include "common/answer.h"
#include "common/text.h"
#include "memory/recall/temporal_query.h"
#include "memory/text/tokenizer.h"
#include "memory/verbs/context_reading.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_lines.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

constexpr std::size_t kMaxNear = 20;

std::string Number(std::uint64_t value) {
  return std::to_string(value);
}

std::string NotRegistered(std::string_view type, std::string_view context) {
  return ErrorAnswer("model type '" + std::string(type) + "' is not registered with context '" +
                     std::string(context) + "'  (memory.cachekeys registers it)");
}

struct Hit {
  std::uint32_t row = 0;
  std::string mark;  // what the line says of it
};

/// The memos of the labels that hold words of the query, the label with most of them first.
std::vector<Hit> LabelHits(const ContextIndex& index, const Overlay& overlay,
                           std::string_view query) {
  const TokenList wanted = StripToTokens(query);
  const auto words = wanted.views();
  struct Matched {
    std::size_t words;
    const Overlay::Label* label;
  };
  std::vector<Matched> matched;
  for (const Overlay::Label& label : overlay.labels()) {
    const TokenList tokens = StripToTokens(label.name);
    const auto views = tokens.views();
    const auto count =
        static_cast<std::size_t>(std::ranges::count_if(views, [&](std::string_view token) {
          return std::ranges::find(words, token) != words.end();
        }));
    if (count > 0) {
      matched.push_back({count, &label});
    }
  }
  std::ranges::sort(matched, [](const Matched& a, const Matched& b) {
    return a.words != b.words ? a.words > b.words : a.label < b.label;
  });
  std::vector<Hit> hits;
  for (const Matched& match : matched) {
    for (const std::uint64_t offset : match.label->memos) {
      if (const auto row = index.memos().find(offset)) {
        hits.push_back({*row, "  label=" + match.label->name});
      }
    }
  }
  return hits;
}

/// The memos whose vector keys are nearest to the query's vector.
std::vector<Hit> VectorHits(const ContextIndex& index, const Overlay& overlay,
                            std::span<const float> query) {
  const std::vector<float> unit = Normalised(query);
  std::vector<float> flat;
  std::vector<std::uint32_t> rows;
  for (const Overlay::Vector& vector : overlay.vectors()) {
    const auto row = index.memos().find(vector.offset);
    if (row && vector.dimension == unit.size()) {
      const std::vector<float> key = Normalised(overlay.floats(vector));
      flat.insert(flat.end(), key.begin(), key.end());
      rows.push_back(*row);
    }
  }
  std::vector<Hit> hits;
  for (const Near& near : FindNearest(flat, unit, kMaxNear)) {
    std::array<char, 32> text;
    const int length =
        std::snprintf(text.data(), text.size(), "  cos=%.3f", static_cast<double>(near.cosine));
    hits.push_back({rows[near.place], {text.data(), static_cast<std::size_t>(length)}});
  }
  return hits;
}

/// Why the type cannot be asked now; empty when it can.
std::string Refusal(const ContextStore& store, std::string_view type, const std::string& context) {
  const Overlay* overlay = store.overlays().find(type);
  if (overlay == nullptr) return NotRegistered(type, context);
  const std::size_t behind = overlay->behind(store.index().memos());
  if (behind == 0) return "";
  return ErrorAnswer("model type '" + overlay->name() + "' is BEHIND in context '" + context +
                     "' — " + Number(behind) +
                     " memo(s) above its mark are unkeyed; run  memory.cachekeys <botid>, " +
                     context + ", " + overlay->name() + "  and key them first");
}

std::string RunModels(const VerbCall& call) {
  const auto reading = ReadContext(call, 2);
  if (!reading) return reading.error();
  const auto& [fields, access] = *reading;
  const std::string context(fields[1]);
  const ContextIndex& index = access.store->index();
  const auto& overlays = access.store->overlays().all();
  if (overlays.empty()) {
    return OkAnswer("no model types registered with context '" + context +
                    "'  (memory.cachekeys <botid>, " + context + ", <modeltype> registers one)");
  }
  std::string answer = OkAnswer(Number(overlays.size()) + " model type(s) in context '" + context +
                                "' (" + Number(index.topics().size()) + " writer topics, " +
                                Number(index.memos().size()) + " memos)");
  for (const Overlay& overlay : overlays) {
    const std::size_t behind = overlay.behind(index.memos());
    answer += "\n  " + overlay.name() + "  labels " + Number(overlay.labels().size()) + "  keyed " +
              Number(overlay.keyed()) + "  mark @" + Number(overlay.mark()) +
              (behind == 0 ? "  CURRENT" : "  BEHIND by " + Number(behind) + " memo(s)") +
              (overlay.is_local() ? "  (local embedder — vector keys, headless pass)" : "");
  }
  return answer;
}

std::string RunModelKeywords(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 4);
  if (fields.size() < 4) return UsageError(call);
  const std::string context(fields[1]);
  const std::string query(fields[3]);
  std::vector<float> vector;
  bool local = false;
  std::string model;
  {
    const auto access = call.contexts.read(context);
    if (!access) return ErrorAnswer(access.error().text);
    if (std::string refused = Refusal(*access->store, fields[2], context); !refused.empty()) {
      return refused;
    }
    local = access->store->overlays().find(fields[2])->is_local();
    model = access->store->overlays().settings().model;
  }
  if (local) {  // asked while nobody waits for the context
    auto embedded = call.options.embedder(model, query);
    if (!embedded) {
      return ErrorAnswer("local embedder '" + model + "' did not answer for the query (ollama " +
                         model + ")");
    }
    vector = std::move(*embedded);
  }
  const auto access = call.contexts.read(context);
  if (!access) return ErrorAnswer(access.error().text);
  if (std::string refused = Refusal(*access->store, fields[2], context); !refused.empty()) {
    return refused;
  }
  const ContextIndex& index = access->store->index();
  const Overlay& overlay = *access->store->overlays().find(fields[2]);
  const std::vector<Hit> hits =
      local ? VectorHits(index, overlay, vector) : LabelHits(index, overlay, query);
  std::vector<std::uint32_t> rows(hits.size());
  std::ranges::transform(hits, rows.begin(), &Hit::row);
  std::ranges::sort(rows);
  const TemporalQuery temporal = ReadTemporalQuery(query, call.now());
  const std::string section =
      temporal.is_time_related() ? TemporalSection(index, temporal, rows) : "";
  if (hits.empty() && section.empty()) {
    return OkAnswer("no memo under '" + overlay.name() + "' labels matches '" + query + "'");
  }
  std::string answer =
      OkAnswer(Number(hits.size()) + " memo(s) for '" + query + "' by model type '" +
               overlay.name() + "', " + (local ? "vector keys (cosine)" : "topic table") + ":");
  for (const Hit& hit : hits) {
    answer += "\n  ";
    AppendMemoHead(answer, index, hit.row);
    answer += hit.mark;
  }
  return answer + section;
}

std::string RunForgetModel(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3) return UsageError(call);
  const std::string context(fields[1]);
  {
    const auto access = call.contexts.read(context);
    if (!access) return ErrorAnswer(access.error().text);
    if (access->store->overlays().find(fields[2]) == nullptr) {
      return NotRegistered(fields[2], context);
    }
  }
  auto access = call.contexts.write(context);
  if (!access) return ErrorAnswer(access.error().text);
  const Overlay* overlay = access->store->overlays().find(fields[2]);
  if (overlay == nullptr) return NotRegistered(fields[2], context);
  const std::string name = overlay->name();
  if (const Status dropped = access->store->overlays().drop(name); !dropped) {
    return ErrorAnswer("model type '" + name + "' could not be forgotten: " + dropped.error().text);
  }
  return OkAnswer("model type '" + name + "' forgotten in context '" + context +
                  "' (its topic table, keys and overlay file dropped; memos untouched)");
}

constexpr VerbRow kRows[] = {
    {.verb = "models",
     .aliases = "modeltypes",
     .usage = "memory.models <botid>, <context>",
     .summary =
         "List the model types registered with a context — each one's private grouping over the "
         "memos: topic labels held, memos keyed, and whether it is CURRENT (high-water mark at "
         "the end of the store) or BEHIND (unkeyed memos above its mark). Read-only.",
     .run = RunModels},
    {.verb = "modelkeywords",
     .aliases = "modelkeyword",
     .usage = "memory.modelkeywords <botid>, <context>, <modeltype>|local, <query>",
     .summary =
         "Recall through a model type's OWN topic table: the query's words hit its labels, the "
         "labels enumerate their memos (one line per memo: topic#n, type, label). Blocked while "
         "that type is BEHIND — its own recall only; the shared verbs never block.",
     .run = RunModelKeywords},
    {.verb = "forgetmodel",
     .aliases = "dropmodel",
     .usage = "memory.forgetmodel <botid>, <context>, <modeltype>",
     .summary =
         "Drop a model type from a context: its topic table, every key and its overlay file. "
         "Memos untouched.",
     .run = RunForgetModel},
};

}  // namespace

std::span<const VerbRow> ModelVerbs() {
  return kRows;
}

}  // namespace mrb::memory
