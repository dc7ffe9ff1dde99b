#include "memory/context/memo_embeddings.h"

#include <utility>

namespace mrb::memory {

MemoEmbeddings MemoEmbeddings::embed(ContextRegistry& registry, const Embedder& embedder,
                                     std::span<const std::string> contexts,
                                     std::string_view content) {
  MemoEmbeddings lane;
  for (const std::string& context : contexts) {
    const auto access = registry.read(context);
    if (access && access->store->overlays().settings().armed) {
      lane.models_[context] = access->store->overlays().settings().model;
    }
  }
  for (const auto& [context, model] : lane.models_) {
    if (lane.vectors_.contains(model)) continue;
    auto vector = embedder(model, content);
    if (!vector) {
      lane.notice_ += "  [stored without a vector: embedder unreachable (ollama " + model +
                      "): " + vector.error().text + "]";
    }
    lane.vectors_[model] = std::move(vector).value_or(std::vector<float>());
  }
  return lane;
}

std::span<const float> MemoEmbeddings::vector(const std::string& context) const {
  const auto model = models_.find(context);
  return model == models_.end() ? std::span<const float>() : vectors_.find(model->second)->second;
}

}  // namespace mrb::memory
