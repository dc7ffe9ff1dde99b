#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vfs/store/version_store.h"

namespace mrb::vfs {

/// The files of a folder as they are, or were at some moment.
struct FolderState {
  struct Entry {
    std::string path;  ///< below the folder, with "/"
    std::uint32_t version = 0;
    Blob bytes;
  };
  std::vector<Entry> files;  ///< in the order of their paths
};

/// "2026-11-23", "2026-11-23 09:05" and "2026-11-23T09:05:00"; what is not said is zero. Nothing
/// for any other text.
[[nodiscard]] std::optional<VersionStamp> ParseMoment(std::string_view text);

/// The live files below a folder, "" for the root. With a moment: those that were live at its end,
/// each with its last version up to then. A file was where it was: one that was moved later stands
/// under its old name.
[[nodiscard]] Result<FolderState> StateOf(const std::shared_ptr<VersionStore>& store,
                                          std::string_view folder,
                                          const std::optional<VersionStamp>& moment);

}  // namespace mrb::vfs
