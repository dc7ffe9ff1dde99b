// The lock is the sharing mode: the holder's handle lets others read and nothing else, so a second
// one that wants to write is refused, in this process as in any other, and the system closes the
// handle of whoever dies.

#include "platform/file_lock.h"

#include <array>
#include <string>

#include "platform/windows/handle.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

namespace mrb::platform {

struct FileLock::Handle {
  platform::Handle file;
  std::string path;
};

FileLock::FileLock(std::unique_ptr<Handle> handle) : handle_(std::move(handle)) {}
FileLock::FileLock(FileLock&&) noexcept = default;
FileLock& FileLock::operator=(FileLock&&) noexcept = default;
FileLock::~FileLock() = default;

Result<FileLock> FileLock::try_acquire(const std::string& path) {
  platform::Handle file(::CreateFileW(WidePath(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                                      FILE_SHARE_READ, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                      nullptr));
  if (!file) return FailLastError("lock", path);
  return FileLock(std::make_unique<Handle>(std::move(file), path));
}

Status FileLock::write_note(std::string_view text) {
  const HANDLE file = handle_->file.get();
  const bool cut = ::SetFilePointerEx(file, {}, nullptr, FILE_BEGIN) && ::SetEndOfFile(file);
  DWORD put = 0;
  if (!cut || !::WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &put, nullptr)) {
    return FailLastError("write", handle_->path);
  }
  return {};
}

std::string FileLock::read_note(const std::string& path) {
  const platform::Handle file(::CreateFileW(
      WidePath(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return {};
  std::array<char, 512> note{};  // a note is a line; what a damaged file holds beyond is no use
  DWORD got = 0;
  if (!::ReadFile(file.get(), note.data(), static_cast<DWORD>(note.size()), &got, nullptr)) {
    return {};
  }
  return {note.data(), got};
}

struct SingleInstance::Handle {
  platform::Handle mutex;
};

SingleInstance::SingleInstance(std::unique_ptr<Handle> handle, bool held)
    : handle_(std::move(handle)), held_(held) {}
SingleInstance::SingleInstance(SingleInstance&&) noexcept = default;
SingleInstance& SingleInstance::operator=(SingleInstance&&) noexcept = default;
SingleInstance::~SingleInstance() = default;

SingleInstance SingleInstance::acquire(std::int32_t port) {
  const std::string name = "Global\\Mirebolt_resident_daemon_" + std::to_string(port);
  platform::Handle mutex(::CreateMutexW(nullptr, TRUE, Widen(name).c_str()));
  if (mutex && ::GetLastError() == ERROR_ALREADY_EXISTS) return {nullptr, false};
  return {std::make_unique<Handle>(std::move(mutex)), true};
}

}  // namespace mrb::platform
