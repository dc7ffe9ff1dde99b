#pragma once

#include <windows.h>

#include "platform/files.h"

namespace mrb::platform {

/// `tag` says what kind of reparse point it is. Links lead elsewhere; the other kinds (cloud
/// storage, deduplication) are files as far as anybody can see.
[[nodiscard]] inline bool IsLink(DWORD attributes, DWORD tag) {
  const bool is_reparse = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  return is_reparse && (tag == IO_REPARSE_TAG_SYMLINK || tag == IO_REPARSE_TAG_MOUNT_POINT);
}

[[nodiscard]] inline FileStatus::Type TypeOf(DWORD attributes, DWORD tag) {
  if (IsLink(attributes, tag)) return FileStatus::Type::kOther;
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileStatus::Type::kDirectory;
  return (attributes & FILE_ATTRIBUTE_DEVICE) != 0 ? FileStatus::Type::kOther
                                                   : FileStatus::Type::kFile;
}

// The system counts ticks of 100 ns since 1601.
constexpr std::int64_t kTicksTo1970 = 116'444'736'000'000'000;

[[nodiscard]] inline std::int64_t NanosecondsSince1970(LONGLONG ticks) {
  return (ticks - kTicksTo1970) * 100;
}

/// Rounded down, also before 1970.
[[nodiscard]] inline std::int64_t TicksSince1601(std::int64_t nanoseconds) {
  return kTicksTo1970 + nanoseconds / 100 - (nanoseconds % 100 < 0 ? 1 : 0);
}

[[nodiscard]] inline std::uint64_t Join(DWORD high, DWORD low) {
  return (std::uint64_t{high} << 32U) | low;
}

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

}  // namespace mrb::platform
