#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace mrb::memory {

struct MemoryOptions {
  std::string contexts_folder;            ///< holds one folder per context; made by the first write
  platform::FileSystem* files = nullptr;  ///< outlives the service
  std::function<std::uint64_t()> now;     ///< seconds since 1970-01-01 00:00 UTC; any thread
};

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

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace mrb::memory
