#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "memory/context/context_registry.h"
#include "memory/embedding/embedder.h"

namespace mrb::memory {

/// The vectors of a memo that is about to be written: one for each context whose semantic lane is
/// armed. Made before any context is locked for writing, because an embedder may be slow.
class MemoEmbeddings {
 public:
  /// Asks the embedder once for each model in use. A context that cannot be read counts as not
  /// armed: the write will tell what is wrong with it.
  [[nodiscard]] static MemoEmbeddings embed(ContextRegistry& registry, const Embedder& embedder,
                                            std::span<const std::string> contexts,
                                            std::string_view content);

  /// Empty when the context takes the memo without one.
  [[nodiscard]] std::span<const float> vector(const std::string& context) const;

  /// "  [...]" when an armed context gets the memo without a vector, else empty.
  [[nodiscard]] const std::string& notice() const { return notice_; }

 private:
  std::map<std::string, std::vector<float>, std::less<>> vectors_;  // by model
  std::map<std::string, std::string, std::less<>> models_;          // by context
  std::string notice_;
};

}  // namespace mrb::memory
