#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "vfs/version_store.h"

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
  /// By path; nothing until it is needed. Guarded by reading_ while it is read, then constant.
  std::optional<std::unordered_map<std::string, std::vector<Change>>> changes_;
};

}  // namespace mrb::vfs
