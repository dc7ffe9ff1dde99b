#pragma once

#include <string>

namespace mrb::platform {

/// What POSIX leaves to each system: calls that the files here need and that every such system
/// names otherwise. Thread-safe. Where nothing else is said, failure is -1 with the reason in
/// errno, as of the calls themselves.

/// The path of the running executable as the system knows it; empty when it does not tell.
[[nodiscard]] std::string ExecutableLink();

/// Closes every descriptor from `first` on. To be called between fork and exec.
void CloseDescriptorsFrom(unsigned first);

/// Renames; EEXIST when `to` is there. EINVAL or ENOSYS: this file system cannot do it in one step.
[[nodiscard]] int RenameIfFree(const char* from, const char* to);

/// Flushes the whole file system that the open file lies on.
[[nodiscard]] int SyncFileSystemOf(int descriptor);

/// The bytes that were sent on a socket and that the peer's system has not taken yet; 0 when that
/// is not known.
[[nodiscard]] int UnsentBytes(int socket);

}  // namespace mrb::platform
