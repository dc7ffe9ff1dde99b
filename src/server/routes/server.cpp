#include "server/routes/server.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "common/parallel.h"
#include "platform/files.h"
#include "platform/open_page.h"
#include "platform/sockets.h"
#include "server/http/connection_threads.h"
#include "server/http/listen_retry.h"
#include "server/http/session_gate.h"
#include "server/http/trust.h"
#include "server/http/websocket_clients.h"
#include "server/routes/connection.h"
#include "server/routes/page_cache.h"

namespace mrb::server {
namespace {

Result<platform::Listener> Listen(std::uint16_t port, bool loopback_only) {
  auto listener = platform::Listener::listen(port, loopback_only);
  if (!listener) return listener;
  if (Status set = listener->expect_requests(kReceiveTimeout, kSendTimeout); !set) {
    return Fail(ErrorKind::kIo, set.error().text);
  }
  return listener;
}

}  // namespace

class Server::Impl {
 public:
  explicit Impl(ServerOptions options) : options_(std::move(options)) {}

  ~Impl() {
    stop();
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !serving_; });
  }

  int serve() {
    {
      const std::scoped_lock lock(mutex_);
      serving_ = true;
    }
    const int result = run();
    const std::scoped_lock lock(mutex_);
    serving_ = false;
    changed_.notify_all();
    return result;
  }

  void stop() {
    const std::scoped_lock lock(mutex_);
    stopping_ = true;
    if (threads_ != nullptr) threads_->stop();
    changed_.notify_all();
  }

  [[nodiscard]] std::uint16_t port() const { return port_.load(); }

 private:
  int run() {
    platform::FileSystem& files = platform::SystemFiles();
    MakeStartUpFolders(files, options_.install_home);
    const PageCache pages = LoadPageCache(files, options_.executable_folder);
    if (!platform::StartSockets()) {
      log("chat: WSAStartup failed\n");
      return 1;
    }
    auto listener = open_listener();
    if (!listener) return stopping() ? 0 : 1;
    port_ = listener->port();
    log("orchestration server listening on " + address() + "\n");
    if (options_.open_browser && !platform::OpenPage(address() + "ui/")) {
      log("no browser to open " + address() + "ui/ in\n");
    }
    accept_on(*listener, {{options_, files, pages},
                          gate(),
                          clients_,
                          identity(),
                          own_address(*listener),
                          [this](std::string_view reason) { identity_missing(reason); }});
    return 0;
  }

  [[nodiscard]] std::optional<platform::Listener> open_listener() {
    const auto port = static_cast<std::uint16_t>(options_.port);
    return OpenListener(options_.port,
                        {[this, port] { return Listen(port, options_.loopback_only); },
                         [this](std::chrono::milliseconds time) { return pause(time); },
                         [this](std::string_view line) { log(line); }});
  }

  void accept_on(platform::Listener& listener, const ConnectionServices& services) {
    ConnectionThreads threads(
        listener, {},
        {[&services](const platform::Socket& socket, std::uint32_t peer, bool crowded) {
           return !IsLoopback(peer) || (crowded && !IsUsers(services.identity.client_of(socket)));
         },
         [&services](platform::Socket& socket, bool outside, ConnectionBuffers& buffers) {
           return Connection(socket, !outside, services, buffers).serve();
         },
         StartDetachedThread, [this](bool last) { thread_missing(last); }});
    {
      const std::scoped_lock lock(mutex_);
      if (stopping_) return;
      threads_ = &threads;
    }
    threads.run();
    const std::scoped_lock lock(mutex_);
    threads_ = nullptr;
  }

  void identity_missing(std::string_view reason) {
    if (identity_warning_.test_and_set()) return;
    log("chat: cannot tell whose program a connection is (" + std::string(reason) +
        "): such are not trusted\n");
  }

  /// A resident that cannot accept any more is worse than none: clients would wait for it.
  void thread_missing(bool last) {
    if (!thread_warning_.test_and_set()) log("chat: a connection thread could not be started\n");
    if (!last) return;
    log("chat: no thread is left to accept with — ending\n");
    std::_Exit(EXIT_FAILURE);
  }

  bool pause(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    return !changed_.wait_for(lock, time, [this] { return stopping_; });
  }

  bool stopping() {
    const std::scoped_lock lock(mutex_);
    return stopping_;
  }

  [[nodiscard]] OwnAddress own_address(const platform::Listener& listener) const {
    if (!listener.holds_localhost()) {
      log("chat: another program holds port " + std::to_string(listener.port()) +
          " of [::1], where localhost may lead: pages are trusted at 127.0.0.1 alone\n");
    }
    return {listener.port(), !options_.loopback_only, listener.holds_localhost()};
  }

  platform::PeerIdentity& identity() {
    return options_.identity != nullptr ? *options_.identity : platform::SystemPeerIdentity();
  }

  SessionGate& gate() { return options_.sessions != nullptr ? *options_.sessions : closed_gate_; }

  [[nodiscard]] std::string address() const {
    return "http://127.0.0.1:" + std::to_string(port()) + "/";
  }

  void log(std::string_view line) const {
    if (options_.log) options_.log(line);
  }

  const ServerOptions options_;
  ClosedGate closed_gate_;
  WebSocketClients clients_;
  std::atomic<std::uint16_t> port_ = 0;
  std::atomic_flag
      thread_warning_;  ///< given once, as the next: under load they would fill the log
  std::atomic_flag identity_warning_;

  std::mutex mutex_;
  std::condition_variable changed_;
  bool serving_ = false;                  // guarded by mutex_
  bool stopping_ = false;                 // guarded by mutex_
  ConnectionThreads* threads_ = nullptr;  // guarded by mutex_
};

Server::Server(ServerOptions options) : impl_(std::make_unique<Impl>(std::move(options))) {}

Server::~Server() = default;

int Server::serve() {
  return impl_->serve();
}

void Server::stop() {
  impl_->stop();
}

std::uint16_t Server::port() const {
  return impl_->port();
}

}  // namespace mrb::server
