#include "memory/recall/search.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

#include "common/parallel.h"
#include "memory/recall/coverage.h"

namespace mrb::memory {

namespace {

constexpr std::size_t kMaxNearest = 100;  // what is further away is hardly about the question

/// The memos of the question's dates, else the dated ones of the hits, in time order.
std::vector<std::uint32_t> TemporalLane(const ContextIndex& index, const LaneQuestion& question,
                                        std::span<const std::uint32_t> hits) {
  std::vector<std::uint32_t> rows;
  if (question.temporal.has_date()) {
    const auto dated = FindDated(index, question.temporal);
    std::ranges::transform(dated, std::back_inserter(rows), &DatedRow::row);
  } else if (question.cues && question.temporal.is_time_related()) {
    const TimeWeb& time = index.webs().time();
    std::ranges::copy_if(hits, std::back_inserter(rows),
                         [&](std::uint32_t row) { return time.anchor(row).is_set(); });
    std::ranges::sort(rows, {},
                      [&](std::uint32_t row) { return std::pair(time.anchor(row), row); });
  }
  return rows;
}

Status LookAt(ContextRegistry& contexts, const ContextsSearch& search, std::size_t place,
              const ContextLook& look) {
  const std::string& context = search.contexts[place];
  std::vector<float> vector;
  if (search.embedder != nullptr) {
    auto found = QuestionVector(contexts, *search.embedder, context, search.question);
    vector = std::move(found).value_or(std::vector<float>());
  }
  const auto access = contexts.read(context);
  if (!access) return std::unexpected(access.error());
  look(place, access->store->index(), vector);
  return {};
}

}  // namespace

Result<std::vector<float>> QuestionVector(ContextRegistry& contexts, const Embedder& embedder,
                                          std::string_view context, std::string_view question) {
  std::string model;
  {
    const auto access = contexts.read(context);
    if (!access) return std::unexpected(access.error());
    const EmbedSettings& settings = access->store->overlays().settings();
    if (!settings.armed || access->store->index().totals().vectors == 0) {
      return {};
    }
    model = settings.model;
  }
  return embedder(model, question).value_or(std::vector<float>());
}

RankedLists SearchLanes(const ContextIndex& index, const LaneQuestion& question) {
  RankedLists lanes;
  auto& [words, semantic, dated] = lanes;
  if (!question.terms.empty()) {
    words = RankByCoverage(index, question.terms, question.word_hits).rows();
  }
  if (!question.vector.empty()) {
    const auto near = index.vectors().nearest(question.vector, kMaxNearest);
    std::ranges::transform(near, std::back_inserter(semantic), &NearMemo::row);
  }
  dated = TemporalLane(index, question, words);
  return lanes;
}

std::vector<Status> SearchContexts(ContextRegistry& contexts, const ContextsSearch& search,
                                   const ContextLook& look) {
  std::vector<Status> outcomes(search.contexts.size());
  std::atomic<std::size_t> next = 0;
  RunParallel(std::min(outcomes.size(), search.side_by_side), [&](std::size_t) {
    for (std::size_t place; (place = next.fetch_add(1)) < outcomes.size();) {
      outcomes[place] = LookAt(contexts, search, place, look);
    }
  });
  return outcomes;
}

}  // namespace mrb::memory
