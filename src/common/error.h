#pragma once

#include <expected>
#include <string>
#include <utility>

namespace mrb {

/// The few classes of failure that callers act on differently.
enum class ErrorKind {
  kNotFound,         ///< the named thing does not exist
  kAlreadyExists,    ///< the named thing exists and must not be replaced
  kInvalidArgument,  ///< the caller's input is wrong; nothing was changed
  kBusy,             ///< another process or thread holds it
  kTimedOut,         ///< nothing happened within the time allowed
  kClosed,           ///< the other side closed the connection
  kNoSpace,          ///< the disk or the memory is full
  kCorrupt,          ///< the bytes read are not what they should be
  kUnavailable,      ///< this system or build cannot do it
  kIo,               ///< any other failure of the system
};

/// A failure as a value: its class, and one sentence for the user that names the object (path,
/// port) and the system's reason.
struct Error {
  ErrorKind kind = ErrorKind::kIo;
  std::string text;
  int system = 0;  ///< the system's own number for it; 0 when it is none of the system's
};

/// What work that can fail returns. Exceptions do not cross a subsystem's border.
template <typename T>
using Result = std::expected<T, Error>;
using Status = Result<void>;

[[nodiscard]] inline std::unexpected<Error> Fail(ErrorKind kind, std::string text) {
  return std::unexpected<Error>(Error{kind, std::move(text), 0});
}

}  // namespace mrb
