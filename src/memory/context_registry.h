#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <vector>

#include "memory/context.h"

namespace mrb::memory {

/// A context that can be read for as long as the object lives; others may read it too.
struct ReadAccess {
  std::shared_ptr<Context> context;  ///< nothing when no such context exists
  std::shared_lock<platform::SharedMutex> lock;
  const ContextStore* store = nullptr;  ///< an empty one when no such context exists
};

/// A context that nobody else reads or writes for as long as the object lives.
struct WriteAccess {
  std::shared_ptr<Context> context;
  std::unique_lock<platform::SharedMutex> lock;
  ContextStore* store = nullptr;
};

/// All contexts under one folder, each loaded when a verb first needs its contents. Thread-safe:
/// its own mutex is held for a look-up only, never while a context is loaded or worked on.
///
/// Every error's text is fit for an answer. A bad id is refused before anything is touched.
class ContextRegistry {
 public:
  ContextRegistry(platform::FileSystem& files, std::string contexts_folder);

  /// For reading; makes nothing on disk for a context that does not exist.
  [[nodiscard]] Result<ReadAccess> read(std::string_view id);

  /// For writing; makes the context's folder when it is missing.
  [[nodiscard]] Result<WriteAccess> write(std::string_view id);

  /// The ids of all contexts that are loaded now, in the order of their names.
  [[nodiscard]] std::vector<std::string> loaded();

  /// Whether write() would succeed as far as can be told without making anything.
  [[nodiscard]] Status check_writable(std::string_view id);

 private:
  [[nodiscard]] std::shared_ptr<Context> find(std::string_view id, bool create);

  platform::FileSystem& files_;
  std::string contexts_folder_;
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<Context>, std::less<>> contexts_;  // guarded by mutex_
};

}  // namespace mrb::memory
