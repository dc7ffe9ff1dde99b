#include "platform/posix/system_error.h"

#include <cerrno>
#include <system_error>

namespace mrb::platform {
namespace {

ErrorKind KindOf(int code) {
  switch (code) {
    case ENOENT:
    case ENOTDIR:
    case ECONNREFUSED:
      return ErrorKind::kNotFound;
    case EEXIST:
    case ENOTEMPTY:
      return ErrorKind::kAlreadyExists;
    case ENOSPC:
    case EDQUOT:
    case ENOMEM:
      return ErrorKind::kNoSpace;
    case EAGAIN:
    case EBUSY:
    case ETXTBSY:
    case EADDRINUSE:
      return ErrorKind::kBusy;
    case ETIMEDOUT:
      return ErrorKind::kTimedOut;
    case EPIPE:
    case ECONNRESET:
    case ECONNABORTED:
    case ENOTCONN:
      return ErrorKind::kClosed;
    case EINVAL:
    case ENAMETOOLONG:
      return ErrorKind::kInvalidArgument;
    case ENOSYS:
    case EOPNOTSUPP:
      return ErrorKind::kUnavailable;
    default:
      return ErrorKind::kIo;
  }
}

}  // namespace

Error SystemError(int number, std::string_view attempt, std::string_view object) {
  std::string text = "cannot ";
  text.append(attempt).append(" ").append(object).append(": ");
  text += std::generic_category().message(number);
  return {KindOf(number), std::move(text), number};
}

std::unexpected<Error> FailErrno(std::string_view attempt, std::string_view object) {
  return std::unexpected<Error>(SystemError(errno, attempt, object));
}

}  // namespace mrb::platform
