#include "front/client/hand_off.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>
#include <utility>
#include <vector>

#include "common/http_answer.h"
#include "common/text.h"
#include "common/version.h"
#include "front/client/answer_reader.h"
#include "platform/console.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "platform/sockets.h"
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
constexpr int kOkStatus = 200;
constexpr int kStartProbes = 80;
constexpr int kQuietProbes = 60;
constexpr std::size_t kMaxFolder = 260;
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

/// Reads until the answer is whole or the peer closes or fails; whether anything came. A silent
/// open connection is waited for: the command runs.
bool ReadSlowAnswer(Socket& socket, HttpAnswer& answer) {
  std::vector<char> chunk(std::size_t{1} << 18U);  // an answer may be megabytes of lines
  bool told = !platform::StderrIsConsole();
  bool any = false;
  while (!answer.complete()) {
    const auto received = socket.receive(chunk.data(), chunk.size());
    if (!received && received.error().kind == ErrorKind::kTimedOut) {
      if (!std::exchange(told, true)) {
        platform::WriteStderr("Mirebolt: still running, waiting for the answer\n");
      }
      continue;
    }
    if (!received || *received == 0) return any;
    any = true;
    if (const Status taken = answer.feed({chunk.data(), *received}); !taken) {
      platform::WriteStderr("Mirebolt: " + taken.error().text + "\n");
      return true;
    }
  }
  return true;
}

bool PrintExec(std::int32_t port, std::string_view line) {
  AnswerPrinter printer;
  if (!PostConsoleExec(port, line, [&](std::string_view piece) { printer.print(piece); })) {
    return false;
  }
  printer.finish();
  return true;
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
  return answer.status() == kOkStatus && WaitFor(port, ProbeResult::NoListener, kQuietProbes);
}

bool PostConsoleExec(std::int32_t port, std::string_view command_line,
                     const std::function<void(std::string_view)>& answer) {
  auto socket = Open(port, kExecTimeout);
  if (!socket) return false;
  std::string request = "POST /console/exec?bot=cli HTTP/1.1\r\nHost: 127.0.0.1\r\n";
  request += FolderHeader();
  if (platform::StdoutIsConsole()) request += "X-Mrb-Tty: 1\r\n";
  request += "Content-Type: text/plain\r\nContent-Length: " + std::to_string(command_line.size()) +
             "\r\nConnection: close\r\n\r\n";
  request += command_line;
  if (!socket->send_all(request)) return false;
  AnswerReader reader(answer);
  HttpAnswer http([&reader](std::string_view piece) { reader.feed(piece); });
  if (!ReadSlowAnswer(*socket, http)) return false;
  reader.finish();
  return true;
}

std::string FolderHeader() {
  const std::string folder = platform::CurrentDirectory();
  const bool has_line_end = folder.find_first_of("\r\n") != std::string::npos;
  if (folder.empty() || folder.size() >= kMaxFolder || has_line_end) return {};
  return "X-Mrb-Cwd: " + folder + "\r\n";
}

bool ExecViaResident(std::int32_t port, std::string_view command_line, StdinLines& lines) {
  if (!command_line.empty()) return PrintExec(port, command_line);
  bool delivered_any = false;
  while (auto line = lines.next()) {
    if (!PrintExec(port, *line)) {
      if (delivered_any) {
        platform::WriteStderr("Mirebolt: the resident went away; not delivered: " + *line + "\n");
      } else {
        lines.put_back(std::move(*line));
      }
      return delivered_any;
    }
    delivered_any = true;
  }
  return true;
}

}  // namespace mrb::front
