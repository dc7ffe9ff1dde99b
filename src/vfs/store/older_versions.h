#pragma once

#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "vfs/store/version_store.h"

namespace mrb::vfs {

/// Versions of a store's files that lie in the mirror alone, for whoever wants those of many files:
/// the journal is read once. Thread-safe.
class OlderVersions {
 public:
  explicit OlderVersions(VersionStore& store) : store_(store) {}

  /// Those below `version`, oldest first.
  [[nodiscard]] Result<std::vector<VersionRecord>> of(const std::string& path,
                                                      std::uint32_t version);

 private:
  [[nodiscard]] Status read_journal();

  VersionStore& store_;
  std::mutex reading_;
  // Guarded by reading_ while the journal is read, then constant.
  bool is_read_ = false;
  std::unordered_map<const File*, std::vector<Change>> changes_;
};

}  // namespace mrb::vfs
