#pragma once

#include <cstdint>
#include <string>

#include "platform/files.h"

namespace mrb::server {

/// The end of a growing text file, for a follower that has seen `size` bytes of it before.
struct FileTail {
  std::uint64_t size = 0;  ///< of the whole file now
  std::string text;        ///< what the follower has not seen
};

inline constexpr std::uint64_t kMaxTail = 65536;

/// Reads from `offset`, or from the start when the file is shorter (it was replaced or cut). Of
/// more than kMaxTail bytes only the last are read, and of those what follows the first line feed.
/// A file that cannot be read is an empty one.
[[nodiscard]] FileTail ReadFileTail(platform::FileSystem& files, const std::string& path,
                                    std::uint64_t offset);

}  // namespace mrb::server
