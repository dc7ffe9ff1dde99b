// embed and semantic: the lane of vectors, and recall over it.

#include <array>
#include <cstdio>

#include "common/answer.h"
#include "common/text.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_lines.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

constexpr std::size_t kMaxSemantic = 20;  // what is further away is hardly about the phrase

std::string LaneText(const ContextStore& store, const std::string& context) {
  const EmbedSettings& settings = store.overlays().settings();
  std::string answer =
      OkAnswer("semantic lane for '" + context + "' is " + (settings.armed ? "ARMED" : "disarmed") +
               "; stored vectors: " + std::to_string(store.index().totals().vectors));
  if (settings.armed) {
    answer += "; local embedder '" + settings.model +
              "' registered as a model type — run  memory.cachekeys <botid>, " + context +
              ", local  to key the memos (headless, a vector each) — new memos embedded at ingest "
              "(needs ollama " +
              settings.model + ")";
  }
  return answer;
}

std::string SetLane(const VerbCall& call, const std::string& context, bool armed) {
  auto access = call.contexts.write(context);
  if (!access) return ErrorAnswer(access.error().text);
  OverlaySet& overlays = access->store->overlays();
  EmbedSettings settings = overlays.settings();
  settings.armed = armed;
  if (const Status set = overlays.set_settings(settings); !set) {
    return ErrorAnswer("the semantic lane of '" + context +
                       "' stays as it was: " + set.error().text);
  }
  if (armed && overlays.find(kLocalModelType) == nullptr) {
    Overlay local{std::string(kLocalModelType)};
    local.settle_mark(access->store->index().memos(), access->store->heap().used());
    (void)overlays.put(std::move(local));  // an armed lane implies it, with a file or without
  }
  return LaneText(*access->store, context);
}

std::string FormatCosine(float cosine) {
  std::array<char, 32> text;
  const int length = std::snprintf(text.data(), text.size(), "%.3f", static_cast<double>(cosine));
  return {text.data(), static_cast<std::size_t>(length)};
}

std::string RunEmbed(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3) return UsageError(call);
  const std::string context(fields[1]);
  const std::string word = LowerAscii(fields[2]);
  if (word != "on" && word != "off" && word != "status") return UsageError(call);
  if (word == "on") return SetLane(call, context, true);
  {
    const auto access = call.contexts.read(context);
    if (!access) return ErrorAnswer(access.error().text);
    if (word == "status" || !access->store->overlays().settings().armed) {
      return LaneText(*access->store, context);
    }
  }
  return SetLane(call, context, false);
}

std::string RunSemantic(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3 || fields[2].empty()) return UsageError(call);
  const std::string context(fields[1]);
  const std::string phrase(fields[2]);
  std::string model;
  {
    const auto access = call.contexts.read(context);
    if (!access) return ErrorAnswer(access.error().text);
    if (access->store->index().totals().vectors == 0) {
      return ErrorAnswer("context '" + context +
                         "' has no embeddings — arm it (memory.embed on) and add memos first");
    }
    model = access->store->overlays().settings().model;
  }
  const auto query = call.options.embedder(model, phrase);
  if (!query) {
    return ErrorAnswer("embedder unreachable (ollama " + model + ") — cannot embed the query");
  }
  const auto access = call.contexts.read(context);
  if (!access) return ErrorAnswer(access.error().text);
  const ContextIndex& index = access->store->index();
  const auto near = index.vectors().nearest(*query, kMaxSemantic);
  if (near.empty()) return ErrorAnswer("no semantic match for '" + phrase + "'");
  std::string answer =
      OkAnswer(std::to_string(near.size()) + " semantic match(es) for '" + phrase + "':");
  for (const NearMemo& memo : near) {
    answer += "\n  ";
    AppendMemoHead(answer, index, memo.row);
    answer += "  cos=" + FormatCosine(memo.cosine);
    AppendMemoLine(answer, index, memo.row);
  }
  return answer;
}

constexpr VerbRow kRows[] = {
    {.verb = "semantic",
     .usage = "memory.semantic <botid>, <context>, <phrase>",
     .summary =
         "Embedding-similarity recall (the opt-in SEMANTIC lane): nearest memos to a phrase, by "
         "vector. Needs the lane armed (memory.embed on) and memos embedded at write time.",
     .run = RunSemantic},
    {.verb = "embed",
     .usage = "memory.embed <botid>, <context>, on|off|status",
     .summary =
         "Arm / disarm / inspect a context's semantic lane. Armed = every add/addmemo/update "
         "also stores an inline embedding (ollama, see vector.h).",
     .run = RunEmbed},
};

}  // namespace

std::span<const VerbRow> EmbedVerbs() {
  return kRows;
}

}  // namespace mrb::memory
