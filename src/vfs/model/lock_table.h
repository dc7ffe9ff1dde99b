#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace mrb::vfs {

/// Who may save which file of a store, who waits for it, and which files need a merge. A lock is
/// held by an author, by name. Not thread-safe: the store's lock guards it.
class LockTable {
 public:
  enum class Taken {
    kTaken,   ///< it was free
    kOwned,   ///< the author holds it already
    kQueued,  ///< somebody else holds it; the author waits
  };

  /// The holder; empty when there is none.
  [[nodiscard]] std::string holder(std::string_view path) const;
  [[nodiscard]] bool held_by_other(std::string_view path, std::string_view author) const;
  [[nodiscard]] std::vector<std::string> queue(std::string_view path) const;

  Taken take(const std::string& path, const std::string& author);

  /// Frees the lock, or hands it to the first that waits. Whether the author held it.
  bool release(const std::string& path, std::string_view author);

  /// Gives the lock to `seat`, whoever holds it, and takes `seat` out of the queue.
  void transfer(const std::string& path, const std::string& seat);

  /// Takes the lock and the flag along when a file moves.
  void rename(const std::string& from, const std::string& to);

  [[nodiscard]] std::vector<std::string> locked_paths() const;

  void flag(const std::string& path) { dirty_.insert(path); }
  void clear_flag(const std::string& path) { dirty_.erase(path); }
  [[nodiscard]] bool is_flagged(std::string_view path) const;

 private:
  struct Lock {
    std::string holder;
    std::vector<std::string> queue;
  };

  std::map<std::string, Lock, std::less<>> locks_;
  std::set<std::string, std::less<>> dirty_;
};

}  // namespace mrb::vfs
