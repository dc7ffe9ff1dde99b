#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "memory/verbs/memory_options.h"

namespace mrb::memory {

class ContextRegistry;
class MemoryWriter;

/// Persistent memory: every context, and the verbs over them. Thread-safe.
class MemoryService {
 public:
  explicit MemoryService(MemoryOptions options);
  MemoryService(const MemoryService&) = delete;
  MemoryService& operator=(const MemoryService&) = delete;
  ~MemoryService();

  /// Runs `memory.<verb> <rest>` for the calling bot and returns its answer text. The verb's letter
  /// case does not matter. Never throws.
  [[nodiscard]] std::string execute(std::string_view bot, std::string_view verb,
                                    std::string_view rest);

  /// The contexts themselves, for who shows them otherwise than as answers, and what changes their
  /// memos.
  [[nodiscard]] ContextRegistry& contexts();
  [[nodiscard]] MemoryWriter writer();
  [[nodiscard]] const MemoryOptions& options() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace mrb::memory
