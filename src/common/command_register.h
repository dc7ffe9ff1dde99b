#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace mrb {

/// The entries of a caller's last listing, by number: $1 is the first. Thread-safe.
class CommandRegister {
 public:
  /// A register is for the first entries, those that somebody names by number.
  static constexpr std::size_t kMaxEntries = 1000;

  [[nodiscard]] std::vector<std::string> entries() const {
    const std::scoped_lock guard(mutex_);
    return entries_;
  }

  /// Takes the place of what was there; entries past kMaxEntries are left out.
  void fill(std::vector<std::string> entries) {
    if (entries.size() > kMaxEntries) entries.resize(kMaxEntries);
    const std::scoped_lock guard(mutex_);
    entries_ = std::move(entries);
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> entries_;  // guarded by mutex_
};

}  // namespace mrb
