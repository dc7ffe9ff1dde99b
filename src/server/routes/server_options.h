#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "server/http/json_rpc_entry.h"

namespace mrb::chat {
class Hub;
}

namespace mrb::platform {
class PeerIdentity;
}

namespace mrb::server {

class ChatLayer;
class InterpreterBridge;
class RunningCalls;
class SessionGate;
class Terminals;
struct Request;
struct Response;

/// What a Server serves, and where.
struct ServerOptions {
  std::int32_t port = 9999;
  std::string executable_folder;  ///< where the pages are looked for
  std::string install_home;       ///< holds bots/, chatlogs/; made when missing
  std::string data_home;          ///< the one served: callers that expect another are refused
  RunningCalls* calls = nullptr;  ///< counts the commands; may be null. Outlives the server
  InterpreterBridge* bridge =
      nullptr;                ///< may be null: routes then answer 503. Outlives the server
  ChatLayer* chat = nullptr;  ///< may be null: messages are dropped. Outlives the server
  chat::Hub* hub = nullptr;   ///< null: the chat's routes answer 404. Outlives the server
  std::function<void(std::string_view)> log;  ///< one whole line with its line feed; any thread
  std::function<void()> request_close;        ///< POST /shutdown, after its answer went out
  bool open_browser = false;                  ///< open the workstation page once it listens
  JsonRpcEntry json_rpc;                      ///< may be empty: its routes then answer 503
  /// The answers of /vc/dirs and /vc/list, as JSON; empty: those routes answer 503. Any thread.
  std::function<std::string()> enrolled_directories;
  std::function<std::string()> versioned_stores;
  /// Answers /ui/api/, what the pages ask of the resident, for trusted callers only; empty: 503.
  std::function<Response(const Request&)> workstation;
  /// Whose programs the peers on this machine are; null: the system's answer. Outlives the server.
  platform::PeerIdentity* identity = nullptr;
  bool loopback_only = false;       ///< bind 127.0.0.1 alone instead of all interfaces
  SessionGate* sessions = nullptr;  ///< null: nobody from outside comes in. Outlives the server
  Terminals* terminals = nullptr;   ///< null: its routes answer 404. Outlives the server
};

}  // namespace mrb::server
