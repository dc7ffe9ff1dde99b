#include "platform/mapped_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <utility>

#include "platform/posix/descriptor.h"
#include "platform/posix/system_error.h"

namespace mrb::platform {

struct MappedFile::Handle {
  Handle(void* start, std::size_t length) : address(start), size(length) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() { ::munmap(address, size); }

  void* address;
  std::size_t size;
};

MappedFile::MappedFile(std::unique_ptr<Handle> handle) : handle_(std::move(handle)) {}
MappedFile::MappedFile(MappedFile&&) noexcept = default;
MappedFile& MappedFile::operator=(MappedFile&&) noexcept = default;
MappedFile::~MappedFile() = default;

Result<MappedFile> MappedFile::open(const std::string& path, std::size_t size) {
  constexpr int kFlags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
  const Descriptor file(Uninterrupted([&] { return ::open(path.c_str(), kFlags, 0600); }));
  if (!file) return FailErrno("open", path);
  struct stat info{};
  if (::fstat(file.get(), &info) != 0) return FailErrno("look at", path);
  if (!S_ISREG(info.st_mode)) return Fail(ErrorKind::kInvalidArgument, path + " is no plain file");
  const auto length = static_cast<off_t>(size);
  if (info.st_size != length && ::ftruncate(file.get(), 0) != 0) return FailErrno("cut", path);
  if (const int failed = ::posix_fallocate(file.get(), 0, length); failed != 0) {
    return std::unexpected(SystemError(failed, "make room in", path));
  }
  void* address = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
  if (address == MAP_FAILED) return FailErrno("map", path);
  return MappedFile(std::make_unique<Handle>(address, size));
}

std::span<std::byte> MappedFile::bytes() const {
  return {static_cast<std::byte*>(handle_->address), handle_->size};
}

}  // namespace mrb::platform
