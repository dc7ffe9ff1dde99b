#include "vfs/mirror/bulk_reader.h"

#include <new>

#include "vfs/mirror/file_bytes.h"

namespace mrb::vfs {
namespace {

// Read by way of memory that is in the processor's cache already, then copied if it is new.
constexpr std::size_t kScratchBytes = std::size_t{1} << 20U;

}  // namespace

Result<Blob> BulkReader::read(const std::string& path, std::uint64_t size) {
  if (size < kScratchBytes) {
    const auto file = files_.open(path, platform::FileSystem::OpenMode::kRead);
    if (!file) return std::unexpected(file.error());
    scratch_.resize(kScratchBytes);
    // One byte more than there should be: a file that grew is told by it.
    const auto got = (*file)->read_at(0, scratch_.data(), static_cast<std::size_t>(size) + 1);
    if (!got) return std::unexpected(got.error());
    if (*got <= size) {
      try {
        return pooled({scratch_.data(), *got});
      } catch (const std::bad_alloc&) {
        return Fail(ErrorKind::kNoSpace, "cannot read " + path + ": not enough memory");
      }
    }
  }
  auto blob = ReadBlob(files_, path);
  if (!blob) return blob;
  const std::scoped_lock guard(pool_mutex_);
  return pool_.intern(*std::move(blob));
}

Blob BulkReader::pooled(std::string_view bytes) {
  const std::uint64_t hash = HashBytes(bytes);
  {
    const std::scoped_lock guard(pool_mutex_);
    if (Blob known = pool_.find(bytes, hash); !known.bytes().empty()) return known;
  }
  Blob copied = slab_.copy_of(bytes, hash);
  const std::scoped_lock guard(pool_mutex_);
  return pool_.intern(std::move(copied));
}

}  // namespace mrb::vfs
