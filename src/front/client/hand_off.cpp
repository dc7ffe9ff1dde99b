#include "front/client/hand_off.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>
#include <utility>
#include <vector>

#include "common/answer.h"
#include "common/http_answer.h"
#include "common/text.h"
#include "common/version.h"
#include "front/client/answer_reader.h"
#include "front/client/caller.h"
#include "platform/console.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "platform/sockets.h"
#include "server/http/call_table.h"
#include "server/http/loopback_request.h"

namespace mrb::front {
namespace {

using platform::Milliseconds;
using platform::Socket;
using Clock = std::chrono::steady_clock;

constexpr Milliseconds kProbeTimeout{1200};
constexpr Milliseconds kShutdownTimeout{1500};
constexpr Milliseconds kExecTimeout{4000};
constexpr Milliseconds kPollInterval{100};
constexpr std::size_t kMaxLine = std::size_t{1} << 20U;  // what a resident takes
constexpr int kOkStatus = 200;
constexpr int kUnavailableStatus = 503;
constexpr int kStartProbes = 80;
constexpr int kQuietProbes = 60;
// A probe answer is some 60 bytes; whatever sends more than this is not our resident.
constexpr std::size_t kMaxProbeAnswer = 65536;

std::optional<server::ResidentConnection> Connect(std::int32_t port, Milliseconds timeout) {
  if (!platform::StartSockets()) return std::nullopt;
  auto connection = server::ConnectToPort(port, timeout);
  if (!connection) return std::nullopt;
  return std::move(*connection);
}

/// A connection to a listener that may be told what the user says.
std::optional<Socket> Open(std::int32_t port, Milliseconds timeout) {
  auto connection = Connect(port, timeout);
  if (!connection || !server::IsOwnListener(connection->server)) return std::nullopt;
  return std::move(connection->socket);
}

/// What holds a port, for a notice.
std::string HolderOf(ProbeResult told, const platform::ServerIdentity& server) {
  const bool is_mirebolt = told == ProbeResult::Current || told == ProbeResult::OtherVersion;
  if (server::IsOwnListener(server)) {
    return is_mirebolt ? "a different Mirebolt version" : "a non-Mirebolt process";
  }
  const std::string& user = server.owner.user;
  return (is_mirebolt ? "the Mirebolt resident of " : "a non-Mirebolt process of ") +
         (user.empty() ? "another user" : user);
}

/// Reads until the answer is whole, is none, or the deadline, which a dripping peer cannot push
/// back.
HttpAnswer ReadAnswerUntil(Socket& socket, Clock::time_point deadline) {
  HttpAnswer answer(kMaxProbeAnswer);
  std::array<char, 2048> chunk{};
  while (!answer.complete()) {
    const auto left = std::chrono::ceil<Milliseconds>(deadline - Clock::now());
    if (left.count() <= 0 || !socket.set_receive_timeout(left)) break;
    const auto received = socket.receive(chunk.data(), chunk.size());
    if (!received || *received == 0 || !answer.feed({chunk.data(), *received})) break;
  }
  return answer;
}

/// How far an answer came.
enum class Came { kNothing, kPart, kAll };

/// Reads until the answer is whole or the peer closes or fails. A silent open connection is waited
/// for, as the command runs; one that fell silent half way only while somebody listens there.
Came ReadSlowAnswer(Socket& socket, std::int32_t port, HttpAnswer& answer) {
  std::vector<char> chunk(std::size_t{1} << 18U);  // an answer may be megabytes of lines
  bool told = !platform::StderrIsConsole();
  bool any = false;
  while (!answer.complete()) {
    const auto received = socket.receive(chunk.data(), chunk.size());
    if (!received && received.error().kind == ErrorKind::kTimedOut) {
      if (any && ProbeResident(port).result == ProbeResult::NoListener) return Came::kPart;
      if (!std::exchange(told, true)) {
        platform::WriteStderr("Mirebolt: still running, waiting for the answer\n");
      }
      continue;
    }
    if (!received || *received == 0) {
      if (!any) return Came::kNothing;
      return answer.end() ? Came::kAll : Came::kPart;
    }
    any = true;
    if (const Status taken = answer.feed({chunk.data(), *received}); !taken) {
      platform::WriteStderr("Mirebolt: " + taken.error().text + "\n");
      return Came::kAll;
    }
  }
  return Came::kAll;
}

/// What became of a call whose connection ended without an answer.
Delivery Unanswered(const Target& target, std::string_view call) {
  const auto begun = server::WasBegun(platform::SystemFiles(), target.call_table, call);
  return begun && !*begun ? Delivery::kNotDelivered : Delivery::kLost;
}

Delivery PrintExec(const Target& target, std::string_view line) {
  AnswerPrinter printer;
  if (line.size() > kMaxLine + (line.starts_with('>') ? 1 : 0)) {
    printer.print(ErrorAnswer("command too large (limit 1 MiB)"));
    printer.finish();
    return Delivery::kAnswered;
  }
  const Delivery delivery =
      PostConsoleExec(target, line, [&](std::string_view piece) { printer.print(piece); });
  printer.finish();
  if (delivery == Delivery::kLost) {
    platform::WriteStderr(
        "Mirebolt: the resident went away while the command ran; it may have run\n");
  }
  return delivery;
}

bool WaitFor(std::int32_t port, ProbeResult wanted, int probes) {
  for (int i = 0; i < probes; ++i) {
    if (ProbeResident(port).result == wanted) return true;
    std::this_thread::sleep_for(kPollInterval);
  }
  return false;
}

bool SpawnResident(std::int32_t port, const ResidentStart& start) {
  const std::string path = platform::ExecutablePath();
  // It would end for the same reason, and nobody would hear why: the caller says it.
  if (path.empty() || !start.claim_homes()) return false;
  std::vector<std::string> arguments{path, "boot", "--port", std::to_string(port)};
  if (!start.data_home_override.empty()) {
    arguments.insert(arguments.end(), {"--conf", start.data_home_override});
  }
  return platform::SpawnDetached(arguments, platform::ParentPath(path)).has_value();
}

}  // namespace

Probe ProbeResident(std::int32_t port) {
  const auto deadline = Clock::now() + kProbeTimeout;
  Probe probe;
  auto connection = Connect(port, kProbeTimeout);
  if (!connection) return probe;
  auto& [socket, server] = *connection;
  if (!socket.send_all("GET /health HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n")) {
    return probe;
  }
  const HttpAnswer answer = ReadAnswerUntil(socket, deadline);
  const ProbeResult told = ClassifyHealth(answer.body(), probe.version);
  probe.result = server::IsOwnListener(server) ? told : ProbeResult::Foreign;
  probe.holder = HolderOf(told, server);
  probe.listener = server.listener;
  return probe;
}

bool EnsureResident(std::int32_t port, const ResidentStart& start) {
  switch (ProbeResident(port).result) {
    case ProbeResult::Current:
      return true;
    case ProbeResult::NoListener:
      break;
    default:
      return false;
  }
  return SpawnResident(port, start) && WaitFor(port, ProbeResult::Current, kStartProbes);
}

bool ShutdownResident(std::int32_t port) {
  auto socket = Open(port, kShutdownTimeout);
  if (!socket) return false;
  if (!socket->send_all(
          "POST /shutdown HTTP/1.1\r\nHost: 127.0.0.1\r\n"
          "X-Mrb-Control: shutdown\r\nContent-Length: 0\r\nConnection: close\r\n\r\n")) {
    return false;
  }
  const HttpAnswer answer = ReadAnswerUntil(*socket, Clock::now() + kShutdownTimeout);
  socket.reset();
  return answer.status() == kOkStatus && AwaitQuiet(port);
}

bool AwaitQuiet(std::int32_t port) {
  return WaitFor(port, ProbeResult::NoListener, kQuietProbes);
}

Delivery PostConsoleExec(const Target& target, std::string_view command_line,
                         const std::function<void(std::string_view)>& answer) {
  auto socket = Open(target.port, kExecTimeout);
  if (!socket) return Delivery::kNotDelivered;
  const std::string call = NewCallId();
  std::string request = "POST /console/exec?bot=cli HTTP/1.1\r\nHost: 127.0.0.1\r\n";
  request += CallerHeaders(target.named_home) + CallHeader(call);
  if (platform::StdoutIsConsole()) request += "X-Mrb-Tty: 1\r\n";
  request += "Content-Type: text/plain\r\nContent-Length: " + std::to_string(command_line.size()) +
             "\r\nConnection: close\r\n\r\n";
  request += command_line;
  if (!socket->send_all(request)) return Unanswered(target, call);
  AnswerReader reader(answer);
  std::string refusal;
  HttpAnswer http([&](std::string_view piece) {
    if (http.status() == kUnavailableStatus) {
      refusal += piece;
    } else {
      reader.feed(piece);
    }
  });
  const Came came = ReadSlowAnswer(*socket, target.port, http);
  if (came == Came::kNothing) return Unanswered(target, call);
  if (refusal.find(server::kGoingDown) != std::string::npos) return Delivery::kGoingDown;
  reader.feed(refusal);
  reader.finish();
  return came == Came::kAll ? Delivery::kAnswered : Delivery::kLost;
}

Delivery ExecViaResident(const Target& target, std::string_view command_line, StdinLines& lines) {
  if (!command_line.empty()) return PrintExec(target, command_line);
  bool delivered_any = false;
  while (auto line = lines.next()) {
    const Delivery delivery = PrintExec(target, *line);
    if (delivery == Delivery::kLost) return delivery;
    if (delivery == Delivery::kNotDelivered && delivered_any) {
      platform::WriteStderr("Mirebolt: the resident went away; not delivered: " + *line + "\n");
      return Delivery::kAnswered;
    }
    if (delivery != Delivery::kAnswered) {
      lines.put_back(std::move(*line));
      return delivery;
    }
    delivered_any = true;
  }
  return Delivery::kAnswered;
}

}  // namespace mrb::front
