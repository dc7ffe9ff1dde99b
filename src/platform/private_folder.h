#pragma once

#include <string>

#include "common/error.h"

namespace mrb::platform {

/// Whose a folder is, and whether it can hold what must come from its user alone. Only the folder
/// itself is judged, not those above it. Thread-safe.

enum class FolderState {
  kMissing,   ///< nothing of that name
  kOwn,       ///< the user's, and nobody else may write into it
  kForeign,   ///< somebody else's
  kOpen,      ///< the user's, but others may write into it
  kNoFolder,  ///< a file, a device, or a link that leads nowhere
};

/// Looks at what the path leads to, links followed: one or two calls to the system. On Windows the
/// administrators and the system itself are as good as the user, as owners and as writers, and a
/// folder whose owner may not be read is somebody else's.
[[nodiscard]] Result<FolderState> ExamineFolder(const std::string& path);

/// Who owns it: the account's name, or its number; empty when the system will not say. For a text:
/// on Windows this may ask another machine.
[[nodiscard]] std::string FolderOwner(const std::string& path);

/// What the user may run to keep others from writing into a folder of theirs. One command a line.
[[nodiscard]] std::string ClosingCommands(const std::string& path);

/// What an administrator may run to give the folder, with all below it, to the user.
[[nodiscard]] std::string TakingCommand(const std::string& path);

}  // namespace mrb::platform
