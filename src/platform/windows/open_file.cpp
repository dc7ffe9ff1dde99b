#include "platform/windows/open_file.h"

#include <algorithm>

#include "platform/windows/system_error.h"

namespace mrb::platform {
namespace {

// A call takes a 32-bit count, and a network file system may refuse a very large one.
constexpr std::size_t kMaxPerCall = std::size_t{32} << 20U;

OVERLAPPED At(std::uint64_t offset) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
  return place;
}

constexpr std::uint64_t kEndOfFile = ~std::uint64_t{0};  // a place that WriteFile knows

}  // namespace

Result<std::uint64_t> WindowsFile::size() {
  LARGE_INTEGER size{};
  if (!::GetFileSizeEx(file_.get(), &size)) return FailLastError("examine", path_);
  return static_cast<std::uint64_t>(size.QuadPart);
}

Result<std::size_t> WindowsFile::read_at(std::uint64_t offset, char* out, std::size_t bytes) {
  std::size_t done = 0;
  while (done < bytes) {
    OVERLAPPED place = At(offset + done);
    const auto wanted = static_cast<DWORD>(std::min(bytes - done, kMaxPerCall));
    DWORD got = 0;
    if (!::ReadFile(file_.get(), out + done, wanted, &got, &place)) {
      if (::GetLastError() == ERROR_HANDLE_EOF) break;
      return FailLastError("read", path_);
    }
    if (got == 0) break;
    done += got;
  }
  return done;
}

Status WindowsFile::append(std::string_view bytes) {
  while (!bytes.empty()) {
    OVERLAPPED place = At(kEndOfFile);
    const auto wanted = static_cast<DWORD>(std::min(bytes.size(), kMaxPerCall));
    DWORD put = 0;
    if (!::WriteFile(file_.get(), bytes.data(), wanted, &put, &place)) {
      return FailLastError("write", path_);
    }
    bytes.remove_prefix(put);
  }
  return {};
}

Status WindowsFile::truncate(std::uint64_t size) {
  FILE_END_OF_FILE_INFO end{};
  end.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
  if (!::SetFileInformationByHandle(file_.get(), FileEndOfFileInfo, &end, sizeof end)) {
    return FailLastError("cut", path_);
  }
  return {};
}

Status WindowsFile::sync() {
  if (!::FlushFileBuffers(file_.get())) return FailLastError("flush", path_);
  return {};
}

}  // namespace mrb::platform
