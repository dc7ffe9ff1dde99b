// flock and not fcntl: its lock belongs to the opened file, so a second one in this process is
// refused too, and closing some other descriptor of the same file does not drop it.

#include "platform/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <array>

#include "platform/paths.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/system_error.h"
#include "platform/process.h"

namespace mrb::platform {

struct FileLock::Handle {
  Descriptor fd;
  std::string path;
};

FileLock::FileLock(std::unique_ptr<Handle> handle) : handle_(std::move(handle)) {}
FileLock::FileLock(FileLock&&) noexcept = default;
FileLock& FileLock::operator=(FileLock&&) noexcept = default;
FileLock::~FileLock() = default;

Result<FileLock> FileLock::try_acquire(const std::string& path) {
  Descriptor fd(Uninterrupted(
      [&] { return ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY, 0600); }));
  if (!fd) return FailErrno("open", path);
  if (Uninterrupted([&] { return ::flock(fd.get(), LOCK_EX | LOCK_NB); }) != 0) {
    return FailErrno("lock", path);
  }
  return FileLock(std::make_unique<Handle>(Handle{std::move(fd), path}));
}

Status FileLock::write_note(std::string_view text) {
  const int fd = handle_->fd.get();
  if (Uninterrupted([&] { return ::ftruncate(fd, 0); }) != 0) {
    return FailErrno("cut", handle_->path);
  }
  off_t at = 0;
  while (!text.empty()) {
    const auto put = Uninterrupted([&] { return ::pwrite(fd, text.data(), text.size(), at); });
    if (put < 0) return FailErrno("write", handle_->path);
    at += put;
    text.remove_prefix(static_cast<std::size_t>(put));
  }
  return {};
}

std::string FileLock::read_note(const std::string& path) {
  const Descriptor fd(Uninterrupted(
      [&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK); }));
  if (!fd) return {};
  std::array<char, 512> note{};  // a note is a line; what a damaged file holds beyond is no use
  const auto got = Uninterrupted([&] { return ::pread(fd.get(), note.data(), note.size(), 0); });
  return got > 0 ? std::string(note.data(), static_cast<std::size_t>(got)) : std::string();
}

struct SingleInstance::Handle {
  FileLock lock;
};

SingleInstance::SingleInstance(std::unique_ptr<Handle> handle, bool held)
    : handle_(std::move(handle)), held_(held) {}
SingleInstance::SingleInstance(SingleInstance&&) noexcept = default;
SingleInstance& SingleInstance::operator=(SingleInstance&&) noexcept = default;
SingleInstance::~SingleInstance() = default;

SingleInstance SingleInstance::acquire(std::int32_t port) {
  const std::string folder = RuntimeFolder();
  if (folder.empty()) return {nullptr, true};
  const std::string name = "Mirebolt_resident_daemon_" + std::to_string(port);
  auto lock = FileLock::try_acquire(JoinPath(folder, name));
  if (lock) return {std::make_unique<Handle>(Handle{std::move(*lock)}), true};
  return {nullptr, lock.error().kind != ErrorKind::kBusy};
}

}  // namespace mrb::platform
