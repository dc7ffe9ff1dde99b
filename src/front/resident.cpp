#include "front/resident.h"

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "chat/hub.h"
#include "common/text.h"
#include "front/client/hand_off.h"
#include "front/interpreter.h"
#include "front/mcp_local.h"
#include "mcp/service.h"
#include "platform/config_file.h"
#include "platform/console.h"
#include "platform/file_lock.h"
#include "platform/main_loop.h"
#include "platform/open_page.h"
#include "platform/paths.h"
#include "server/http/call_table.h"
#include "server/http/running_calls.h"
#include "server/routes/chat_sockets.h"
#include "server/routes/server.h"
#include "server/terminals/terminals.h"
#include "workstation/workstation.h"

namespace mrb::front {
namespace {

using platform::WriteStderr;
using platform::WriteStdout;

constexpr int kHealthProbes = 1300;
constexpr std::chrono::milliseconds kHealthInterval{100};
constexpr std::chrono::milliseconds kListenInterval{2};
constexpr std::chrono::milliseconds kLastCalls{5000};   // what runs when the resident is to end
constexpr std::chrono::milliseconds kEndedCalls{6000};  // hunting them down, at the longest

std::string Address(std::int32_t port, std::string_view path) {
  return "http://127.0.0.1:" + std::to_string(port) + std::string(path);
}

std::uint64_t UnixMilliseconds() {
  using std::chrono::milliseconds;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::duration_cast<milliseconds>(now).count());
}

/// The setting `listen`: whether to bind 127.0.0.1 alone. Fails on any other word than the two, and
/// when the settings cannot be read: an open port is not what somebody meant who wrote that line.
Result<bool> ListensOnLoopbackOnly(const Homes& homes) {
  platform::FileSystem& files = platform::SystemFiles();
  for (const std::string& path : homes.settings_files()) {
    const auto text = platform::ReadFile(files, path);
    if (!text && text.error().kind != ErrorKind::kNotFound) return std::unexpected(text.error());
  }
  const auto value = platform::ReadSetting(files, homes.settings_files(), "listen");
  if (!value || *value == "all") return false;
  if (*value == "loopback") return true;
  return Fail(ErrorKind::kInvalidArgument,
              "the setting listen is '" + *value + "', and may be all or loopback");
}

/// The server on a thread of its own, with the commands it serves. Ends with the object.
class RunningServer {
 public:
  struct Choices {
    std::unique_ptr<server::CallTable> calls;
    bool loopback_only = false;
    bool open_page = false;
  };

  RunningServer(const Options& options, const Homes& homes, Choices chosen)
      : calls_(std::move(chosen.calls)),
        activity_(UnixMilliseconds() / 1000),
        interpreter_(homes, &WriteStdout, platform::StdoutIsConsole(), observers()),
        hub_(hub_options(homes)),
        sockets_(hub_),
        terminals_(terminal_options(homes)),
        mcp_({.bridge = &interpreter_,
              .terminals = &terminals_,
              .hub = &hub_,
              .max_answer = MaxToolAnswer(homes)}),
        workstation_({.files = interpreter_.files(),
                      .memory = interpreter_.memory(),
                      .terminals = terminals_,
                      .activity = activity_,
                      .author = [this] { return interpreter_.author_of("cli"); },
                      .port = options.port}),
        server_(server_options(options, homes, chosen)) {
    interpreter_.start();
    thread_ = std::thread([this] {
      failed_ = server_.serve() != 0;
      // Nobody could ever reach a resident that does not listen, not even to close it.
      if (failed_) platform::RequestClose();
      ended_ = true;
    });
  }
  RunningServer(const RunningServer&) = delete;
  RunningServer& operator=(const RunningServer&) = delete;
  ~RunningServer() {
    // What runs may end by itself and is answered; then what can be ended is, and says so.
    calls_.close();
    if (!calls_.await_none(kLastCalls)) {
      interpreter_.end_shell_commands();
      (void)calls_.await_none(kEndedCalls);
    }
    // First: requests that wait for a terminal, for chat or for events return, and stop() can end.
    terminals_.end_all();
    hub_.stop();
    activity_.events().close();
    server_.stop();
    thread_.join();
  }

  /// Returns once the server listens, or has given up.
  void wait_until_listening() const {
    while (server_.port() == 0 && !ended_ && !platform::IsCloseRequested()) {
      std::this_thread::sleep_for(kListenInterval);
    }
  }

  [[nodiscard]] bool listens() const { return server_.port() != 0 && !ended_; }

  [[nodiscard]] bool ended() const { return ended_; }
  [[nodiscard]] bool failed() const { return failed_; }

 private:
  server::ServerOptions server_options(const Options& options, const Homes& homes,
                                       const Choices& wanted) {
    server::ServerOptions served;
    served.port = options.port;
    served.executable_folder = homes.executable_folder;
    served.install_home = homes.install_home;
    served.data_home = homes.data_home;
    served.calls = &calls_;
    served.bridge = &interpreter_;
    served.enrolled_directories = [this] { return interpreter_.files().directories_json(); };
    served.versioned_stores = [this] { return interpreter_.files().stores_json(); };
    served.log = [](std::string_view line) { WriteStderr(line); };
    served.request_close = &platform::RequestClose;
    served.open_browser = wanted.open_page;
    served.loopback_only = wanted.loopback_only;
    served.terminals = &terminals_;
    served.hub = &hub_;
    served.chat = &sockets_;
    served.json_rpc = [this](const server::JsonRpcCall& call) { return mcp_.answer(call); };
    served.workstation = [this](const server::Request& request) {
      return workstation_.answer(request);
    };
    return served;
  }

  WriteObservers observers() {
    return {.files = [this](const auto& store,
                            const auto& change) { activity_.file_changed(store, change); },
            .memory = [this](const auto& change) { activity_.memory_changed(change); }};
  }

  chat::HubOptions hub_options(const Homes& homes) {
    chat::HubOptions chosen;
    chosen.files = &platform::SystemFiles();
    chosen.folder = platform::JoinPath(homes.install_home, "chatlogs");
    chosen.now = &UnixMilliseconds;
    chosen.type_into_terminal = [this](std::string_view bot, std::string_view id,
                                       std::string_view line) {
      return terminals_.send_from_bot(bot, id, line);
    };
    return chosen;
  }

  server::TerminalOptions terminal_options(const Homes& homes) {
    server::TerminalOptions chosen;
    chosen.files = &platform::SystemFiles();
    chosen.saved_hosts = homes.saved_hosts();
    chosen.post = [this](const server::TerminalPost& post) {
      hub_.post_terminal(post.bot, post.terminal, post.text);
    };
    chosen.log = [](std::string_view line) { WriteStderr(line); };
    chosen.changed = [this](std::string_view what, const auto& session) {
      activity_.terminal_changed(what, session);
    };
    return chosen;
  }

  server::RunningCalls calls_;
  workstation::Activity activity_;  // before the others: the others tell it what they do
  Interpreter interpreter_;
  chat::Hub hub_;
  server::ChatSockets sockets_;
  server::Terminals terminals_;
  mcp::McpService mcp_;
  workstation::Workstation workstation_;
  server::Server server_;
  std::atomic<bool> failed_{false};
  std::atomic<bool> ended_{false};
  std::thread thread_;
};

int Complain(const Error& error) {
  WriteStderr("Mirebolt: " + error.text + "\n");
  return 1;
}

/// Without the table nobody could tell whether a command ran: better no resident than that one.
Result<std::unique_ptr<server::CallTable>> OpenCallTable(const Options& options,
                                                         const Homes& homes) {
  auto table = server::CallTable::open(server::CallTablePath(options.port, homes.data_home));
  if (!table) return std::unexpected(std::move(table.error()));
  return std::make_unique<server::CallTable>(std::move(*table));
}

platform::TrayMenu TrayOf(std::int32_t port) {
  return {.title = "Mirebolt", .open_page = [port] { ShowPage(port, "/ui/"); }};
}

bool BecomesHealthy(std::int32_t port, const RunningServer& server) {
  server.wait_until_listening();
  for (int i = 0; i < kHealthProbes && !server.ended() && !platform::IsCloseRequested(); ++i) {
    if (ProbeResident(port).result == ProbeResult::Current) return true;
    std::this_thread::sleep_for(kHealthInterval);
  }
  return false;
}

void GreetTheUser(const Options& options, const Homes& homes, bool loopback_only) {
  std::string text =
      "Mirebolt orchestration server up — " + Address(options.port, "/") +
      "\n  data: " + homes.data_home + "\n  listens: " +
      (loopback_only ? "loopback (127.0.0.1 alone)"
                     : "all interfaces; 'listen = loopback' in mirebolt.cfg closes the rest") +
      "\n  next, in another terminal:\n";
  const std::string mb =
      options.port == kDefaultPort ? "mb" : "mb --port " + std::to_string(options.port);
  text += "    " + mb + " memory.add me, notes, build, , the build needs VS 17.9\n";
  text += "    " + mb + " memory.retrieve me, notes, build\n";
  text += "    " + mb + " help\n";
  WriteStdout(text);
}

}  // namespace

void ShowPage(std::int32_t port, std::string_view path) {
  const std::string url = Address(port, path);
  if (!platform::OpenPage(url)) WriteStdout(url + "\n");
}

namespace {

/// What a resident does once it has left its console. What went wrong is both logged and reported.
int ServeDetached(const Options& options, const Homes& homes, bool open_page) {
  const auto fail = [](const std::string& complaint) {
    WriteStderr(complaint);
    platform::ReportStart(complaint);
    return 1;
  };
  const auto instance = platform::SingleInstance::acquire(options.port);
  if (!instance.held()) {
    platform::ReportStart({});
    return 0;
  }
  const auto loopback_only = ListensOnLoopbackOnly(homes);
  if (!loopback_only) return fail("Mirebolt: " + loopback_only.error().text + "\n");
  auto calls = OpenCallTable(options, homes);
  if (!calls) return fail("Mirebolt: " + calls.error().text + "\n");
  platform::PrepareMainLoop();
  const RunningServer server(options, homes,
                             {.calls = std::move(*calls), .loopback_only = *loopback_only});
  if (!BecomesHealthy(options.port, server)) {
    return fail(
        "Mirebolt: boot could not bind port " + std::to_string(options.port) +
        " (held by another process) — exiting instead of running a listener-less resident\n");
  }
  platform::ReportStart({});
  if (open_page) ShowPage(options.port, "/ui/");
  platform::RunMainLoop(TrayOf(options.port));
  return 0;
}

}  // namespace

int RunBoot(const Options& options, const Homes& homes, bool open_page) {
  if (!ClaimHomesOrSay(homes)) return 1;  // while there is a console to say it on
  const std::string log = homes.log_path(options.port);
  Status detached = platform::MakeDirectories(platform::SystemFiles(), platform::ParentPath(log));
  if (detached) detached = platform::DetachConsole(log);
  // It still serves; it only cannot say what it saw.
  if (!detached) WriteStderr("warning: no log: " + detached.error().text + "\n");
  return ServeDetached(options, homes, open_page);
}

int RunInteractive(const Options& options, const Homes& homes, Role role, std::string_view word) {
  const auto instance = platform::SingleInstance::acquire(options.port);
  if (!instance.held()) {
    if (role == Role::kInteractive) {
      ShowPage(options.port, "/ui/");
    } else {
      WriteStdout("Mirebolt resident already running — " + Address(options.port, "/") + "\n");
    }
    return 0;
  }
  if (!ClaimHomesOrSay(homes)) return 1;
  const auto loopback_only = ListensOnLoopbackOnly(homes);
  if (!loopback_only) return Complain(loopback_only.error());
  auto calls = OpenCallTable(options, homes);
  if (!calls) return Complain(calls.error());
  platform::PrepareMainLoop();
  // `serve` is for a terminal or a service; the other words are for a person who wants the page.
  const bool open_page = role == Role::kInteractive && word != "serve";
  const RunningServer server(
      options, homes,
      {.calls = std::move(*calls), .loopback_only = *loopback_only, .open_page = open_page});
  server.wait_until_listening();
  if (server.listens()) GreetTheUser(options, homes, *loopback_only);
  if (!HasConfiguration(homes, platform::SystemFiles())) {
    platform::ShowBalloon("Mirebolt", "No configuration found — set it up in the tray.");
  }
  platform::RunMainLoop(TrayOf(options.port));
  return server.failed() ? 1 : 0;
}

int RunVersionControl(const Homes& homes) {
  if (!ClaimHomesOrSay(homes)) return 1;
  Interpreter interpreter(homes, &WriteStdout, platform::StdoutIsConsole());
  interpreter.start();
  for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

}  // namespace mrb::front
