#pragma once

#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

#include "common/error.h"
#include "platform/sockets.h"

namespace mrb::front {

/// The client's side of terminals: it drives the routes under "/term/" of the resident of a port.
struct AttachOptions {
  std::int32_t port = 9999;
  std::string headers;  ///< sent with every request: whole lines with their line ends
};

/// The requests of a client that must be able to leave although its resident does not answer.
/// Thread-safe.
class TerminalRequests {
 public:
  /// `options` have to outlive this.
  explicit TerminalRequests(const AttachOptions& options) : options_(options) {}

  /// The answer's body, whatever its status. kUnavailable when the listener is not the user's own,
  /// kTimedOut when it keeps silent for 4 s, kClosed after give_up().
  [[nodiscard]] Result<std::string> ask(const std::string& method_and_target,
                                        std::string_view body = {});

  /// Requests that wait return soon, and later ones at once.
  void give_up();

 private:
  class Open;

  [[nodiscard]] bool has_given_up();

  const AttachOptions& options_;
  std::mutex mutex_;
  std::set<platform::Socket*> open_;  // guarded by mutex_
  bool given_up_ = false;             // guarded by mutex_
};

}  // namespace mrb::front
