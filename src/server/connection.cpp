#include "server/connection.h"

#include <array>
#include <chrono>

#include "server/trust.h"
#include "server/websocket_connection.h"

namespace mrb::server {
namespace {

using Clock = std::chrono::steady_clock;
using platform::Milliseconds;

constexpr Milliseconds kNoTimeout{0};

// However steadily a peer drips bytes, it gives its thread back after these.
constexpr std::chrono::seconds kHeadTime{60};
constexpr std::chrono::seconds kBodyTime{600};

constexpr std::size_t kPiece = 4096;
constexpr std::size_t kCopiedBody = 65536;  // to send it with the head, in a buffer that stays

}  // namespace

bool Connection::serve() {
  buffers_.reader.clear();
  if (!read_head()) return false;

  Request request = this->request();
  const std::uint64_t body_length = BodyLength(request.head);
  if (body_length > kMaxBody) return false;
  if (IsSignIn(request.line)) return sign_in(body_length);
  if (loopback_) {
    request.trusted = IsTrusted(request.head, loopback_, services_.port);
  } else {
    const GateDecision decision = PassGate(request, services_.gate);
    if (decision.passage == GateDecision::Passage::kDrop) return false;
    if (decision.passage == GateDecision::Passage::kRefuse) return answer(decision.refusal);
    request.trusted = decision.trusted;
  }
  if (IsWebSocketUpgrade(request.head)) return upgrade(request);

  const bool trusted = request.trusted;
  read_body(body_length);
  request = this->request();  // the buffer may have moved
  request.body = buffers_.reader.rest().substr(0, static_cast<std::size_t>(body_length));
  request.trusted = trusted;
  return answer(AnswerRequest(request, services_.routes));
}

Request Connection::request() const {
  Request request;
  request.head = buffers_.reader.head();
  request.line = ParseRequestLine(request.head);
  request.loopback = loopback_;
  return request;
}

bool Connection::receive_piece() {
  std::array<char, kPiece> piece;  // NOLINT: filled by the system, no need to clear it first
  const auto received = socket_.receive(piece.data(), piece.size());
  if (!received || *received == 0) return false;
  buffers_.reader.append({piece.data(), *received});
  return true;
}

bool Connection::read_head() {
  using State = RequestReader::State;
  if (!receive_piece()) return false;
  if (buffers_.reader.state() == State::kHeadDone) return true;  // nearly always
  const auto deadline = Clock::now() + kHeadTime;
  while (buffers_.reader.state() == State::kHead) {
    if (Clock::now() > deadline || !receive_piece()) return false;
  }
  return buffers_.reader.state() == State::kHeadDone;
}

void Connection::read_body(std::uint64_t length) {
  if (buffers_.reader.rest().size() >= length) return;
  const auto deadline = Clock::now() + kBodyTime;
  while (buffers_.reader.rest().size() < length) {
    if (Clock::now() > deadline || !receive_piece()) return;
  }
}

bool Connection::sign_in(std::uint64_t body_length) {
  std::string_view body;  // one too long for a token is left unread, and no token
  if (body_length <= kMaxSignInBody) {
    read_body(body_length);
    body = buffers_.reader.rest().substr(0, static_cast<std::size_t>(body_length));
  }
  return answer(AnswerSignIn(body, services_.gate));
}

bool Connection::upgrade(const Request& request) {
  if (!MayEnter(request, Access::kNoForeignPage)) {
    return answer(JsonFailure(kForbidden, "loopback only"));
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
  if (sent) socket_.shutdown_send();
  if (response.close_resident && services_.routes.options.request_close) {
    services_.routes.options.request_close();
  }
  return sent;
}

}  // namespace mrb::server
