#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "memory/context/context_registry.h"
#include "memory/embedding/embedder.h"
#include "memory/recall/fused_search.h"
#include "memory/recall/query_terms.h"
#include "memory/recall/temporal_query.h"

namespace mrb::memory {

/// What searches have in common, whoever asks and however the hits are shown. Rows of a context are
/// good for as long as it is held; so whoever shows them does it there.

/// The question's vector where the context's semantic lane is armed and has vectors; empty where it
/// is not, or when nobody embeds it: words alone answer then. Asked before the context is held, as
/// an embedder may be slow. Fails when the context cannot be read.
[[nodiscard]] Result<std::vector<float>> QuestionVector(ContextRegistry& contexts,
                                                        const Embedder& embedder,
                                                        std::string_view context,
                                                        std::string_view question);

/// A question as one context understands it.
struct LaneQuestion {
  std::span<const QueryTerm> terms;
  std::span<const float> vector;  ///< empty: not by meaning
  const TemporalQuery& temporal;
  std::size_t word_hits;  ///< hits by words that take part, the best ones
  bool cues = false;      ///< a question of a time but no date has the dated hits by words in order
};

/// What each lane finds in a context that is held, best first, for Fuse().
[[nodiscard]] RankedLists SearchLanes(const ContextIndex& index, const LaneQuestion& question);

/// A search of several contexts.
struct ContextsSearch {
  std::span<const std::string> contexts;
  std::string_view question;
  const Embedder* embedder = nullptr;  ///< nothing: not by meaning
  std::size_t side_by_side = 1;        ///< contexts that are looked at at once
};

/// Looks at one of them, the `place`-th, while it is held; `vector` as of QuestionVector(). Several
/// places at once, by several threads.
using ContextLook = std::function<void(std::size_t place, const ContextIndex& index,
                                       std::span<const float> vector)>;

/// Calls `look` for every context that can be read; for each of the others why it could not. Each
/// is held by itself: who held several could make somebody wait who makes us wait.
[[nodiscard]] std::vector<Status> SearchContexts(ContextRegistry& contexts,
                                                 const ContextsSearch& search,
                                                 const ContextLook& look);

}  // namespace mrb::memory
