#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/caller_folder.h"
#include "common/command_register.h"
#include "memory/context/memory_change.h"
#include "memory/embedding/embedder.h"
#include "platform/files.h"

namespace mrb::memory {

/// One version of a versioned file, as memory.indexdir takes it over.
struct FileVersion {
  std::string name;  ///< without the folder
  std::string bytes;
  std::uint64_t written = 0;  ///< seconds since 1970-01-01 00:00 UTC
};

/// What the memory needs of its surroundings. The functions may be called by any thread.
struct MemoryOptions {
  std::string contexts_folder;            ///< holds one folder per context; made by the first write
  platform::FileSystem* files = nullptr;  ///< outlives the service
  std::function<std::uint64_t()> now;     ///< seconds since 1970-01-01 00:00 UTC; any thread

  /// The folder that the calling thread's caller is in; relative paths start there. May be empty.
  std::function<CallerFolder()> folder = {};

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

}  // namespace mrb::memory
