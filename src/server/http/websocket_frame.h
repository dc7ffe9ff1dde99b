#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace mrb::server {

/// WebSocket framing (RFC 6455): bytes in, events out, no socket and no clock.

enum class WebSocketOpcode : std::uint8_t {
  kContinuation = 0,
  kText = 1,
  kBinary = 2,
  kClose = 8,
  kPing = 9,
  kPong = 10,
};

inline constexpr std::uint64_t kMaxFramePayload = 1048576;  ///< a frame is a chat line or a part
inline constexpr std::uint64_t kMaxMessage = 16777216;      ///< of a message of at most this size
inline constexpr std::uint64_t kMaxControlPayload = 125;    ///< RFC 6455, section 5.5
inline constexpr std::uint16_t kCloseNormal = 1000;
inline constexpr std::uint16_t kCloseProtocolError = 1002;

/// Turns a client's byte stream into messages and control frames.
///
///     while (!bytes.empty()) switch (reader.next(bytes)) { ... }
///
/// Where the protocol has a choice: a frame without a mask is taken as it is (masks protect
/// proxies, and local tools may leave them out); an opcode the protocol does not define is skipped;
/// a longer form of a length than needed is understood. A text message may hold any bytes. Memory
/// is bounded by kMaxMessage, and grows only with bytes that came.
class WebSocketReader {
 public:
  enum class Event {
    kNone,           ///< all bytes used, nothing complete yet
    kMessage,        ///< payload() is a whole text or binary message
    kPing,           ///< payload() is to be sent back
    kClose,          ///< the client ends the connection
    kProtocolError,  ///< reserved bits, a control frame too long or in parts, a message out of
                     ///< order
    kTooLarge,       ///< a limit above is passed
  };

  /// Uses bytes from the front of `input` up to the next event. After the last three events nothing
  /// may be fed any more.
  Event next(std::string_view& input);

  /// Of the event just answered; valid until the next call.
  [[nodiscard]] std::string_view payload() const { return payload_; }

 private:
  [[nodiscard]] std::size_t header_size() const;
  [[nodiscard]] std::uint64_t declared_length() const;
  [[nodiscard]] WebSocketOpcode opcode() const;
  [[nodiscard]] bool final_part() const { return (header_[0] & 0x80U) != 0; }
  [[nodiscard]] bool is_control() const { return (header_[0] & 0x08U) != 0; }
  [[nodiscard]] bool starts_message() const;
  [[nodiscard]] bool belongs_to_message() const;
  [[nodiscard]] bool keeps_payload() const;

  Event begin_frame();
  Event end_frame();
  void take_payload(std::string_view bytes);

  static constexpr std::size_t kMaxHeader = 14;  // 2 + 8 of length + 4 of mask
  std::array<std::uint8_t, kMaxHeader> header_{};
  std::size_t header_bytes_ = 0;
  std::uint64_t remaining_ = 0;  ///< payload bytes of this frame still to come
  std::size_t mask_at_ = 0;      ///< the next payload byte's place in the mask
  bool in_payload_ = false;
  bool in_message_ = false;    ///< a message has begun and its last frame has not come
  bool message_done_ = false;  ///< message_ was handed out and is to be emptied
  std::string message_;
  std::string control_;
  std::string_view payload_;
};

/// Appends one whole unmasked frame, as a server sends it.
void AppendFrame(std::string& out, WebSocketOpcode opcode, std::string_view payload);

/// A close frame with that status and no reason.
[[nodiscard]] std::string CloseFrame(std::uint16_t status);

/// The value of Sec-WebSocket-Accept for a client's key.
[[nodiscard]] std::string AcceptValue(std::string_view key);

}  // namespace mrb::server
