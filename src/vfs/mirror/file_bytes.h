#pragma once

#include <cstdint>
#include <string>

#include "platform/files.h"
#include "vfs/model/blob.h"

namespace mrb::vfs {

/// No single file larger than this is held in memory; such a file is left out and named.
inline constexpr std::uint64_t kMaxFile = std::uint64_t{1} << 32U;

/// The whole file. kNoSpace when it is too large for the memory there is.
[[nodiscard]] Result<Blob> ReadBlob(platform::FileSystem& files, const std::string& path);

/// Whether two looks at a file saw the same file, unchanged.
[[nodiscard]] bool SameStat(const platform::FileStatus& a, const platform::FileStatus& b);

/// Whether a file that looked like `status` at `now_ns` could have changed again without looking
/// different: clocks of file systems are coarse.
[[nodiscard]] bool IsRacy(const platform::FileStatus& status, std::int64_t now_ns);

/// Nanoseconds since 1970-01-01 00:00 UTC.
[[nodiscard]] std::int64_t NowNanoseconds();

/// `status`, made to look like no file at all when it is racy, so that the next look reads again.
[[nodiscard]] platform::FileStatus Trusted(const platform::FileStatus& status, std::int64_t now_ns);

}  // namespace mrb::vfs
