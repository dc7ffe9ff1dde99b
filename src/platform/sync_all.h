#pragma once

#include <span>
#include <string>
#include <variant>
#include <vector>

#include "platform/files.h"

namespace mrb::platform {

/// Something to flush: an open file, which stays the caller's and must not be used meanwhile, or
/// the path of a folder.
using SyncTarget = std::variant<OpenFile*, std::string>;

/// Flushes all targets and returns once every flush has ended, with the outcome of each. A
/// journalling file system takes flushes that come at the same time into one commit, so two or
/// three take about as long as one; they are spread over a few threads, kept for the next call. One
/// target, or a file system that wants them one by one, is done in the calling thread. Thread-safe.
[[nodiscard]] std::vector<Status> SyncEach(FileSystem& files, std::span<const SyncTarget> targets);

/// Like SyncEach(), but returns only the first failure, in the order of `targets`.
[[nodiscard]] Status SyncAll(FileSystem& files, std::span<const SyncTarget> targets);

}  // namespace mrb::platform
