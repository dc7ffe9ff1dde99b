#include "server/http/websocket_frame.h"

#include <algorithm>

#include "common/base64.h"
#include "platform/sha1.h"

namespace mrb::server {
namespace {

constexpr std::uint8_t kFinal = 0x80;
constexpr std::uint8_t kReservedBits = 0x70;
constexpr std::uint8_t kOpcodeBits = 0x0F;
constexpr std::uint8_t kMasked = 0x80;
constexpr std::uint8_t kLengthBits = 0x7F;
constexpr std::uint8_t kLength16 = 126;
constexpr std::uint8_t kLength64 = 127;
constexpr std::size_t kMaskSize = 4;

std::size_t LengthSize(std::uint8_t short_length) {
  return short_length == kLength16 ? 2 : short_length == kLength64 ? 8 : 0;
}

void AppendBigEndian(std::string& out, std::uint64_t value, unsigned bytes) {
  while (bytes-- > 0) out += static_cast<char>(value >> (8U * bytes) & 0xFFU);
}

}  // namespace

std::size_t WebSocketReader::header_size() const {
  if (header_bytes_ < 2) return 2;
  return 2 + LengthSize(header_[1] & kLengthBits) + ((header_[1] & kMasked) != 0 ? kMaskSize : 0);
}

std::uint64_t WebSocketReader::declared_length() const {
  const std::uint8_t short_length = header_[1] & kLengthBits;
  const std::size_t size = LengthSize(short_length);
  if (size == 0) return short_length;
  std::uint64_t length = 0;
  for (std::size_t i = 0; i < size; ++i) length = length << 8U | header_[2 + i];
  return length;
}

WebSocketOpcode WebSocketReader::opcode() const {
  return static_cast<WebSocketOpcode>(header_[0] & kOpcodeBits);
}

bool WebSocketReader::starts_message() const {
  return opcode() == WebSocketOpcode::kText || opcode() == WebSocketOpcode::kBinary;
}

bool WebSocketReader::belongs_to_message() const {
  return starts_message() || opcode() == WebSocketOpcode::kContinuation;
}

bool WebSocketReader::keeps_payload() const {
  return belongs_to_message() || opcode() == WebSocketOpcode::kPing;
}

WebSocketReader::Event WebSocketReader::next(std::string_view& input) {
  if (message_done_) {
    message_ = {};  // gives the memory of a large message back
    message_done_ = false;
  }
  while (!input.empty()) {
    if (!in_payload_) {
      header_[header_bytes_++] = static_cast<std::uint8_t>(input.front());
      input.remove_prefix(1);
      if (header_bytes_ < header_size()) continue;
      if (const Event bad = begin_frame(); bad != Event::kNone) return bad;
    }
    const auto bytes = static_cast<std::size_t>(std::min<std::uint64_t>(remaining_, input.size()));
    take_payload(input.substr(0, bytes));
    input.remove_prefix(bytes);
    if (remaining_ > 0) continue;
    if (const Event event = end_frame(); event != Event::kNone) return event;
  }
  return Event::kNone;
}

WebSocketReader::Event WebSocketReader::begin_frame() {
  const std::uint64_t length = declared_length();
  if ((header_[0] & kReservedBits) != 0) return Event::kProtocolError;
  if (is_control() && (!final_part() || length > kMaxControlPayload)) return Event::kProtocolError;
  if (starts_message() && in_message_) return Event::kProtocolError;
  if (opcode() == WebSocketOpcode::kContinuation && !in_message_) return Event::kProtocolError;
  if (length > kMaxFramePayload) return Event::kTooLarge;
  if (belongs_to_message()) {
    if (message_.size() + length > kMaxMessage) return Event::kTooLarge;
    in_message_ = true;
  }
  control_.clear();
  remaining_ = length;
  mask_at_ = 0;
  in_payload_ = true;
  return Event::kNone;
}

void WebSocketReader::take_payload(std::string_view bytes) {
  remaining_ -= bytes.size();
  if (!keeps_payload()) return;
  std::string& out = belongs_to_message() ? message_ : control_;
  const std::size_t start = out.size();
  out.append(bytes);
  if ((header_[1] & kMasked) == 0) return;
  const std::uint8_t* mask = header_.data() + header_bytes_ - kMaskSize;
  for (std::size_t i = start; i < out.size(); ++i) {
    out[i] = static_cast<char>(static_cast<std::uint8_t>(out[i]) ^ mask[mask_at_]);
    mask_at_ = (mask_at_ + 1) % kMaskSize;
  }
}

WebSocketReader::Event WebSocketReader::end_frame() {
  in_payload_ = false;
  header_bytes_ = 0;
  if (belongs_to_message()) {
    if (!final_part()) return Event::kNone;
    in_message_ = false;
    message_done_ = true;
    payload_ = message_;
    return Event::kMessage;
  }
  if (opcode() == WebSocketOpcode::kClose) return Event::kClose;
  if (opcode() != WebSocketOpcode::kPing) return Event::kNone;
  payload_ = control_;
  return Event::kPing;
}

void AppendFrame(std::string& out, WebSocketOpcode opcode, std::string_view payload) {
  out += static_cast<char>(kFinal | static_cast<std::uint8_t>(opcode));
  if (payload.size() < kLength16) {
    out += static_cast<char>(payload.size());
  } else if (payload.size() <= 0xFFFF) {
    out += static_cast<char>(kLength16);
    AppendBigEndian(out, payload.size(), 2);
  } else {
    out += static_cast<char>(kLength64);
    AppendBigEndian(out, payload.size(), 8);
  }
  out += payload;
}

std::string CloseFrame(std::uint16_t status) {
  std::string payload;
  AppendBigEndian(payload, status, 2);
  std::string frame;
  AppendFrame(frame, WebSocketOpcode::kClose, payload);
  return frame;
}

std::string AcceptValue(std::string_view key) {
  static constexpr std::string_view kGuid = "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
  return EncodeBase64(platform::Sha1(std::string(key).append(kGuid)));
}

}  // namespace mrb::server
