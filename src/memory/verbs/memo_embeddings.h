#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "memory/verbs/verb_table.h"

namespace mrb::memory {

/// The vectors of a memo that is about to be written: one for each context whose semantic lane is
/// armed. Made before any context is locked for writing, because an embedder may be slow.
class MemoEmbeddings {
 public:
  /// Asks the embedder once for each model in use. A context that cannot be read counts as not
  /// armed: the write will tell what is wrong with it.
  [[nodiscard]] static MemoEmbeddings embed(const VerbCall& call,
                                            const std::vector<std::string>& contexts,
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

/// Whether the caller has a model type in the context: one that is named like the caller.
[[nodiscard]] bool HasModelType(const ContextStore& store, const VerbCall& call);

}  // namespace mrb::memory
