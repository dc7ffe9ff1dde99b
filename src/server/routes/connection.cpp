#include "server/routes/connection.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "server/http/trust.h"
#include "server/http/websocket_connection.h"

namespace mrb::server {
namespace {

using Clock = std::chrono::steady_clock;
using platform::Milliseconds;

constexpr Milliseconds kNoTimeout{0};

// However steadily a peer drips bytes, it gives its place back after these.
struct Times {
  std::chrono::seconds head;
  std::chrono::seconds body;
};
constexpr Times kOwnTimes{std::chrono::seconds(60), std::chrono::seconds(600)};
constexpr Times kStrangersTimes{std::chrono::seconds(5), std::chrono::seconds(10)};

constexpr std::size_t kPiece = 4096;
constexpr std::size_t kCopiedBody = 65536;  // to send it with the head, in a buffer that stays

Response CutBody() {
  return JsonFailure(kBadRequest, "the body is shorter than its Content-Length; nothing was done");
}

Response NoLength() {
  return JsonFailure(kLengthRequired,
                     "Transfer-Encoding is not understood: send the body with a Content-Length");
}

}  // namespace

bool Connection::serve() {
  buffers_.reader.clear();
  if (!read_head()) return false;

  Request request = this->request();
  const std::uint64_t body_length = BodyLength(request.head);
  if (body_length > kMaxBody) return false;
  if (IsSignIn(request.line)) return sign_in(body_length);
  if (loopback_) {
    judge(request);
  } else {
    GateDecision decision = PassGate(request, services_.gate);
    if (decision.passage == GateDecision::Passage::kDrop) return false;
    if (decision.passage == GateDecision::Passage::kRefuse) return answer(decision.refusal);
    request.trusted = decision.trusted;
  }
  if (IsWebSocketUpgrade(request.head)) return upgrade(request);
  if (HasTransferCoding(request.head)) return answer(NoLength());
  return read_and_answer(request, body_length);
}

/// Nothing of a body is kept for a caller that is refused.
bool Connection::read_and_answer(const Request& request, std::uint64_t body_length) {
  const Route* route = FindRoute(request.line);
  if (const auto refusal = RefuseRequest(request, route)) {
    return answer(skip_body(body_length) ? *refusal : CutBody());
  }
  if (route == nullptr || !HasBody(request.line)) {
    if (!skip_body(body_length)) return answer(CutBody());
    return answer(AnswerRequest(request, services_.routes));
  }
  const auto [trusted, page_load] = std::pair(request.trusted, request.page_load);
  if (!read_body(body_length)) return answer(CutBody());
  Request whole = this->request();  // the buffer may have moved
  whole.body = buffers_.reader.rest().substr(0, static_cast<std::size_t>(body_length));
  whole.trusted = trusted;
  whole.page_load = page_load;
  return answer(AnswerRequest(whole, services_.routes));
}

Request Connection::request() const {
  Request request;
  request.head = buffers_.reader.head();
  request.line = ParseRequestLine(request.head);
  request.loopback = loopback_;
  return request;
}

/// Finds out whether the user sent it. Whose program a peer is, is asked only where it matters.
void Connection::judge(Request& request) {
  const Route* route = FindRoute(request.line);
  const bool open = route == nullptr || route->access == Access::kAny;
  if (open && !IsWebSocketUpgrade(request.head)) return;
  const Sender sender = SenderOf(request.head, services_.address);
  if (sender == Sender::kForeignPage) return;
  request.page_load = sender == Sender::kOwnPage && IsPageLoad(request.head);
  request.trusted = is_own_program(request);
}

bool Connection::is_own_program(Request& request) const {
  using Kind = platform::PeerOwner::Kind;
  const platform::PeerOwner owner = services_.identity.client_of(socket_);
  if (owner.kind == Kind::kLessPrivileged) {
    request.objection = "this resident runs elevated and serves elevated programs only";
  }
  if (!owner.reason.empty() && services_.identity_missing) {
    services_.identity_missing(owner.reason);
  }
  return IsUsers(owner);
}

/// What came, within the room and the deadline; empty when nothing does any more.
std::string_view Connection::receive(std::span<char> room, Deadline deadline) {
  if (!loopback_) {
    const auto left = std::chrono::ceil<Milliseconds>(deadline - Clock::now());
    if (left.count() <= 0 || !socket_.set_receive_timeout(left)) return {};
  } else if (Clock::now() > deadline) {
    return {};
  }
  const auto received = socket_.receive(room.data(), room.size());
  return {room.data(), received.value_or(0)};
}

bool Connection::receive_piece(Deadline deadline) {
  std::array<char, kPiece> room;  // NOLINT: filled by the system, no need to clear it first
  const std::string_view piece = receive(room, deadline);
  buffers_.reader.append(piece);
  return !piece.empty();
}

bool Connection::read_head() {
  using State = RequestReader::State;
  const auto deadline = Clock::now() + (loopback_ ? kOwnTimes : kStrangersTimes).head;
  while (buffers_.reader.state() == State::kHead) {
    if (!receive_piece(deadline)) return false;
  }
  return buffers_.reader.state() == State::kHeadDone;
}

/// Tells a client that waits for it that its body is welcome. False when that cannot be sent.
bool Connection::invite_body(std::uint64_t length) {
  if (buffers_.reader.rest().size() >= length) return true;
  if (!ExpectsContinue(buffers_.reader.head())) return true;
  return socket_.send_all("HTTP/1.1 100 Continue\r\n\r\n").has_value();
}

/// False when the peer ended, or its time did, before the whole of it came.
bool Connection::read_body(std::uint64_t length) {
  if (buffers_.reader.rest().size() >= length) return true;  // nearly always
  if (!invite_body(length)) return false;
  const auto deadline = Clock::now() + (loopback_ ? kOwnTimes : kStrangersTimes).body;
  while (buffers_.reader.rest().size() < length) {
    if (!receive_piece(deadline)) return false;
  }
  return true;
}

/// The same, of a body that nobody wants.
bool Connection::skip_body(std::uint64_t length) {
  std::uint64_t left = length - std::min<std::uint64_t>(length, buffers_.reader.rest().size());
  if (left == 0 || ExpectsContinue(buffers_.reader.head())) return true;  // it is not sent then
  const auto deadline = Clock::now() + kStrangersTimes.body;
  std::array<char, kPiece> room;  // NOLINT: filled by the system, no need to clear it first
  while (left > 0) {
    const std::string_view piece = receive(room, deadline);
    if (piece.empty()) return false;
    left -= std::min<std::uint64_t>(left, piece.size());
  }
  return true;
}

bool Connection::sign_in(std::uint64_t body_length) {
  std::string_view body;  // one too long for a token is left unread, and no token
  if (body_length <= kMaxSignInBody) {
    if (!read_body(body_length)) return answer(CutBody());
    body = buffers_.reader.rest().substr(0, static_cast<std::size_t>(body_length));
  }
  return answer(AnswerSignIn(body, services_.gate));
}

bool Connection::upgrade(const Request& request) {
  if (!MayEnter(request, Access::kNoForeignPage)) {
    return answer(
        JsonFailure(kForbidden, request.objection.empty() ? "loopback only" : request.objection));
  }
  (void)socket_.set_receive_timeout(kNoTimeout);
  WebSocketConnection connection(socket_, services_.clients, services_.routes.options.chat);
  if (!connection.serve(request, buffers_.reader.rest())) return false;
  socket_.shutdown_send();
  return true;
}

bool Connection::send_answer(const Response& response) {
  std::string& bytes = buffers_.answer;
  bytes.clear();
  AppendHttpHead(bytes, response);
  if (response.body.size() > kCopiedBody) {
    return socket_.send_all(bytes).has_value() && socket_.send_all(response.body).has_value();
  }
  bytes += response.body;
  return socket_.send_all(bytes).has_value();
}

bool Connection::answer(const Response& response) {
  const bool sent = send_answer(response);
  if (sent) {
    socket_.shutdown_send();
  } else {
    socket_.reset_on_close();
  }
  if (response.close_resident && services_.routes.options.request_close) {
    services_.routes.options.request_close();
  }
  return sent;
}

}  // namespace mrb::server
