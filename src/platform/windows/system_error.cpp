#include "platform/windows/system_error.h"

#include <winsock2.h>

#include <array>
#include <string>

#include "common/text.h"
#include "platform/windows/wide.h"

namespace mrb::platform {
namespace {

constexpr unsigned long kDiskQuotaExceeded = 1295;  // not in every compiler's headers by name

ErrorKind KindOf(unsigned long number) {
  switch (number) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_DIRECTORY:
    case WSAECONNREFUSED:
      return ErrorKind::kNotFound;
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS:
    case ERROR_DIR_NOT_EMPTY:
      return ErrorKind::kAlreadyExists;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case kDiskQuotaExceeded:
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
    case ERROR_COMMITMENT_LIMIT:
    case WSAENOBUFS:
      return ErrorKind::kNoSpace;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_BUSY:
    case WSAEADDRINUSE:
    case WSAEACCES:  // what binding to a port says that another socket has for itself
      return ErrorKind::kBusy;
    case ERROR_SEM_TIMEOUT:
    case WSAETIMEDOUT:
      return ErrorKind::kTimedOut;
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
    case ERROR_OPERATION_ABORTED:
    case WSAECONNRESET:
    case WSAECONNABORTED:
    case WSAENOTCONN:
    case WSAESHUTDOWN:
    case WSAEINTR:
      return ErrorKind::kClosed;
    case ERROR_INVALID_PARAMETER:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
      return ErrorKind::kInvalidArgument;
    case ERROR_CALL_NOT_IMPLEMENTED:
    case ERROR_NOT_SUPPORTED:
      return ErrorKind::kUnavailable;
    default:
      return ErrorKind::kIo;
  }
}

std::string ReasonOf(unsigned long number) {
  std::array<wchar_t, 512> text{};
  const DWORD length = ::FormatMessageW(
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
      nullptr, number, 0, text.data(), static_cast<DWORD>(text.size()), nullptr);
  if (length == 0) return "system error " + std::to_string(number);
  return std::string(Trim(Narrow(std::wstring_view(text.data(), length))));
}

}  // namespace

Error SystemError(unsigned long number, std::string_view attempt, std::string_view object) {
  std::string text = "cannot ";
  text.append(attempt).append(" ").append(object).append(": ").append(ReasonOf(number));
  return {KindOf(number), std::move(text), static_cast<int>(number)};
}

std::unexpected<Error> FailLastError(std::string_view attempt, std::string_view object) {
  return std::unexpected(SystemError(::GetLastError(), attempt, object));
}

}  // namespace mrb::platform
