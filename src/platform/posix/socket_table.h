#pragma once

#include <cstdint>
#include <mutex>

#include "common/error.h"
#include "platform/posix/descriptor.h"
#include "platform/uid_identity.h"

namespace mrb::platform {

/// The system's table of TCP sockets, asked about one at a time. Thread-safe.
class SocketTable {
 public:
  /// The socket of exactly that pair; when the remote end is all zero the one that listens there.
  /// kNotFound when there is none; any other failure when the system does not tell.
  [[nodiscard]] Result<SocketEntry> find(const SocketPair& pair);

 private:
  Result<SocketEntry> ask(const SocketPair& pair);
  Result<SocketEntry> read_answer(const SocketPair& pair);

  std::mutex mutex_;
  Descriptor netlink_;       // guarded by mutex_
  std::uint32_t asked_ = 0;  // guarded by mutex_; the number of the last question
  bool knows_tcp_ = false;   // guarded by mutex_; it has told of a socket before
};

}  // namespace mrb::platform
