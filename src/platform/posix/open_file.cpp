#include "platform/posix/open_file.h"

#include <sys/stat.h>

#include "platform/posix/system_error.h"

namespace mrb::platform {

Result<std::uint64_t> PosixFile::size() {
  struct stat info{};
  if (::fstat(fd_.get(), &info) != 0) return FailErrno("examine", path_);
  return static_cast<std::uint64_t>(info.st_size);
}

Result<std::size_t> PosixFile::read_at(std::uint64_t offset, char* out, std::size_t bytes) {
  std::size_t done = 0;
  while (done < bytes) {
    const auto got = Uninterrupted([&] {
      return ::pread(fd_.get(), out + done, bytes - done, static_cast<off_t>(offset + done));
    });
    if (got < 0) return FailErrno("read", path_);
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  return done;
}

Status PosixFile::append(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto put = Uninterrupted([&] { return ::write(fd_.get(), bytes.data(), bytes.size()); });
    if (put < 0) return FailErrno("write", path_);
    bytes.remove_prefix(static_cast<std::size_t>(put));
  }
  return {};
}

Status PosixFile::truncate(std::uint64_t size) {
  const auto cut = Uninterrupted([&] { return ::ftruncate(fd_.get(), static_cast<off_t>(size)); });
  if (cut != 0) return FailErrno("cut", path_);
  return {};
}

Status PosixFile::sync() {
  // fdatasync leaves out times only; a changed length is metadata that the data needs, so it goes
  // too.
  if (Uninterrupted([&] { return ::fdatasync(fd_.get()); }) != 0) return FailErrno("flush", path_);
  return {};
}

}  // namespace mrb::platform
