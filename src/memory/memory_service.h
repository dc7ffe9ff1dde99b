#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/command_register.h"
#include "memory/embedder.h"
#include "platform/files.h"

namespace mrb::memory {

/// One version of a versioned file, as memory.indexdir takes it over.
struct FileVersion {
  std::string name;  ///< without the folder
  std::string bytes;
  std::uint64_t written = 0;  ///< seconds since 1970-01-01 00:00 UTC
};

/// Something of a context was written.
struct MemoryChange {
  enum class What : std::uint8_t {
    kAdded,    ///< a memo at the end of a topic
    kUpdated,  ///< a memo in its place
    kRemoved,  ///< memos taken out, or others put in their places
    kMoved     ///< the context itself: renamed, retired, parked, brought back
  };
  std::string_view context;
  What what = What::kAdded;
  std::string_view topic;  ///< the only one concerned; empty: any
};

/// Told of each change once it is on the disk, while the context is held: it must be quick and must
/// not use the memory.
using MemoryObserver = std::function<void(const MemoryChange&)>;

/// What the memory needs of its surroundings. The functions may be called by any thread.
struct MemoryOptions {
  std::string contexts_folder;            ///< holds one folder per context; made by the first write
  platform::FileSystem* files = nullptr;  ///< outlives the service
  std::function<std::uint64_t()> now;     ///< seconds since 1970-01-01 00:00 UTC; any thread

  /// The folder that the calling thread's caller is in; relative paths start there. May be empty.
  std::function<std::string()> working_directory = {};

  /// Told, on the calling thread, how a long work proceeds, a line at a time. May be empty.
  std::function<void(const std::string&)> progress = {};

  /// Turns texts into vectors for contexts whose semantic lane is armed; empty: SystemEmbedder().
  Embedder embedder = {};

  /// The versions of every file directly in `directory` when that is under version control (files
  /// by name, versions by number), else nothing. May be empty.
  std::function<std::optional<std::vector<FileVersion>>(const std::string& directory)>
      file_versions = {};

  /// The command register of a bot: $1, $2, … of its queries, and filled by them. May be empty.
  std::function<std::shared_ptr<CommandRegister>(std::string_view bot)> registers = {};

  MemoryObserver changed = {};  ///< may be empty
};

class ContextRegistry;

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

  /// The contexts themselves, for who shows them otherwise than as answers.
  [[nodiscard]] ContextRegistry& contexts();
  [[nodiscard]] const MemoryOptions& options() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace mrb::memory
