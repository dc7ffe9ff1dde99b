#include "platform/mapped_file.h"

#include <windows.h>

#include <utility>

#include "platform/windows/handle.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

namespace mrb::platform {

struct MappedFile::Handle {
  Handle(void* start, std::size_t length) : address(start), size(length) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() { ::UnmapViewOfFile(address); }

  void* address;
  std::size_t size;
};

MappedFile::MappedFile(std::unique_ptr<Handle> handle) : handle_(std::move(handle)) {}
MappedFile::MappedFile(MappedFile&&) noexcept = default;
MappedFile& MappedFile::operator=(MappedFile&&) noexcept = default;
MappedFile::~MappedFile() = default;

Result<MappedFile> MappedFile::open(const std::string& path, std::size_t size) {
  constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const platform::Handle file(
      ::CreateFileW(WidePath(path).c_str(), GENERIC_READ | GENERIC_WRITE, kShare, nullptr,
                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  if (!file) return FailLastError("open", path);
  BY_HANDLE_FILE_INFORMATION info{};
  if (!::GetFileInformationByHandle(file.get(), &info)) return FailLastError("look at", path);
  constexpr DWORD kOther = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
  if ((info.dwFileAttributes & kOther) != 0) {
    return Fail(ErrorKind::kInvalidArgument, path + " is no plain file");
  }
  LARGE_INTEGER length{};
  length.LowPart = info.nFileSizeLow;
  length.HighPart = static_cast<LONG>(info.nFileSizeHigh);
  if (length.QuadPart != static_cast<LONGLONG>(size) && !::SetEndOfFile(file.get())) {
    return FailLastError("cut", path);
  }
  // A mapping larger than its file makes the file that large, and gives it the room.
  const platform::Handle mapping(::CreateFileMappingW(file.get(), nullptr, PAGE_READWRITE, 0,
                                                      static_cast<DWORD>(size), nullptr));
  if (!mapping) return FailLastError("map", path);
  void* address = ::MapViewOfFile(mapping.get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, size);
  if (address == nullptr) return FailLastError("map", path);
  return MappedFile(std::make_unique<Handle>(address, size));
}

std::span<std::byte> MappedFile::bytes() const {
  return {static_cast<std::byte*>(handle_->address), handle_->size};
}

}  // namespace mrb::platform
