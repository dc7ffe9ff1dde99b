#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "server/http/http_head.h"

namespace mrb::server {

inline constexpr std::size_t kMaxHead = 65536;       ///< bytes without a blank line
inline constexpr std::uint64_t kMaxBody = 33554432;  ///< 32 MiB

/// Collects one request from the pieces in which it arrives; no socket, no clock. Meant to be kept
/// and cleared from one connection to the next, so that its buffer is allocated once.
class RequestReader {
 public:
  enum class State {
    kHead,      ///< the blank line has not come
    kHeadDone,  ///< head() is whole; what came behind it is the start of rest()
    kTooLarge,  ///< more than kMaxHead bytes and no blank line
  };

  /// Forgets the request; gives a large buffer back.
  void clear();

  /// Adds bytes from the peer.
  State append(std::string_view bytes);

  [[nodiscard]] State state() const { return state_; }
  [[nodiscard]] std::string_view head() const { return view().substr(0, head_size_); }
  [[nodiscard]] std::string_view rest() const { return view().substr(head_size_); }

 private:
  [[nodiscard]] std::string_view view() const { return buffer_; }

  static constexpr std::size_t kKeptCapacity = 65536;
  std::string buffer_;
  std::size_t head_size_ = 0;
  State state_ = State::kHead;
};

/// What one thread keeps from connection to connection, so that a small request allocates little.
struct ConnectionBuffers {
  RequestReader reader;
  std::string answer;
};

/// The bytes of body that a request declares. "/vid/upload" has none here, because that body is
/// read by the upload itself.
[[nodiscard]] std::uint64_t BodyLength(std::string_view head);

/// Whether a request's body is handed to its route: with POST, PUT and DELETE. With other methods
/// it is read all the same, so that a request is known to be whole, and dropped.
[[nodiscard]] bool HasBody(const RequestLine& line);

}  // namespace mrb::server
