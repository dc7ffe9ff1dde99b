#pragma once

#include <compare>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <vector>

#include "memory/context/context.h"
#include "memory/context/memory_change.h"

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
  ContextRegistry(platform::FileSystem& files, std::string contexts_folder,
                  MemoryObserver changed = {});

  /// For reading; makes nothing on disk for a context that does not exist.
  [[nodiscard]] Result<ReadAccess> read(std::string_view id);

  /// For writing; makes the context's folder when it is missing.
  [[nodiscard]] Result<WriteAccess> write(std::string_view id);

  /// The order of ids; equal ones name the same folder. Whoever holds two contexts takes them in
  /// this order.
  [[nodiscard]] static std::strong_ordering compare(std::string_view a, std::string_view b);

  /// Whether there is a folder of that id.
  [[nodiscard]] bool exists(std::string_view id) const;

  /// What the folder of contexts holds, in the order of the ids; loads nothing.
  struct Listed {
    std::string id;
    bool loaded = false;
    std::uint64_t topics = 0;  ///< of a loaded one
    std::uint64_t memos = 0;   ///< of a loaded one
    std::uint64_t bytes = 0;   ///< in memory of a loaded one, else of its store file
    bool legacy = false;       ///< its only store is of an older format
  };
  [[nodiscard]] Result<std::vector<Listed>> list();

  /// Unloads the context and moves its folder to `to`; see Context::move_to().
  [[nodiscard]] Status move_out(std::string_view id, const std::string& to);

  /// The same to the folder of another id, kAlreadyExists when there is one; the name in it
  /// follows.
  [[nodiscard]] Status rename(std::string_view id, std::string_view new_id);

  /// Moves the folder `from`, which nobody has open, to the place of `id`; kAlreadyExists when
  /// there is a context of that id.
  [[nodiscard]] Status move_in(const std::string& from, std::string_view id);

  [[nodiscard]] std::string folder(std::string_view id) const;
  [[nodiscard]] const std::string& contexts_folder() const { return contexts_folder_; }

  /// The ids of all contexts that are loaded now, in the order of their names.
  [[nodiscard]] std::vector<std::string> loaded();

  /// Whether write() would succeed as far as can be told without making anything.
  [[nodiscard]] Status check_writable(std::string_view id);

 private:
  void tell_moved(std::string_view id) const;
  [[nodiscard]] Listed look_at(std::string id);
  [[nodiscard]] std::shared_ptr<Context> find(std::string_view id, bool create);

  platform::FileSystem& files_;
  std::string contexts_folder_;
  MemoryObserver changed_;
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<Context>, std::less<>> contexts_;  // guarded by mutex_
};

}  // namespace mrb::memory
