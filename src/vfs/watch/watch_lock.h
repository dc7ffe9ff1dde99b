#pragma once

#include <string>

#include "platform/file_lock.h"
#include "platform/files.h"
#include "platform/paths.h"

namespace mrb::vfs {

/// What a process is told that finds a root watched by another one.
inline constexpr std::string_view kFollowerMessage =
    "watcher owned by another Mirebolt process — read-only follower";

/// The file in the folder of locks that stands for a root: the root's last name, so that people
/// recognise it, and a hash of the whole path. Spellings of one path give one name.
[[nodiscard]] std::string WatchLockName(std::string_view root,
                                        platform::PathStyle style = platform::SystemPathStyle());

/// Makes this process the one that watches `root` and versions what others save there, as long as
/// the lock lives. Makes the folder of locks. kBusy, with kFollowerMessage, when another has it.
[[nodiscard]] Result<platform::FileLock> OwnRoot(platform::FileSystem& files,
                                                 const std::string& locks_folder,
                                                 const std::string& root);

}  // namespace mrb::vfs
