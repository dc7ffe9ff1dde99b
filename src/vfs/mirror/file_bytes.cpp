#include "vfs/mirror/file_bytes.h"

#include <algorithm>
#include <chrono>
#include <new>

namespace mrb::vfs {
namespace {

// The coarsest clock in use keeps even seconds.
constexpr std::int64_t kClockGrain = 2'000'000'000;

Result<Blob> ReadInto(platform::OpenFile& file, std::uint64_t size) {
  BlobBuffer buffer(static_cast<std::size_t>(size));  // what was added since, a later look reads
  std::size_t have = 0;
  while (have < buffer.capacity()) {
    const auto got = file.read_at(have, buffer.data() + have, buffer.capacity() - have);
    if (!got) return std::unexpected(got.error());
    if (*got == 0) break;
    have += *got;
  }
  return buffer.seal(have);
}

}  // namespace

Result<Blob> ReadBlob(platform::FileSystem& files, const std::string& path) {
  const auto file = files.open(path, platform::FileSystem::OpenMode::kRead);
  if (!file) return std::unexpected(file.error());
  const auto size = (*file)->size();
  if (!size) return std::unexpected(size.error());
  if (*size > kMaxFile) return Fail(ErrorKind::kNoSpace, "cannot read " + path + ": too large");
  try {
    return ReadInto(**file, *size);
  } catch (const std::bad_alloc&) {
    return Fail(ErrorKind::kNoSpace, "cannot read " + path + ": not enough memory");
  }
}

bool SameStat(const platform::FileStatus& a, const platform::FileStatus& b) {
  return a.type == b.type && a.size == b.size && a.modified_ns == b.modified_ns &&
         a.changed_ns == b.changed_ns && a.file_id == b.file_id;
}

bool IsRacy(const platform::FileStatus& status, std::int64_t now_ns) {
  return std::max(status.modified_ns, status.changed_ns) + kClockGrain > now_ns;
}

std::int64_t NowNanoseconds() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

platform::FileStatus Trusted(const platform::FileStatus& status, std::int64_t now_ns) {
  return IsRacy(status, now_ns) ? platform::FileStatus() : status;
}

}  // namespace mrb::vfs
