#include "platform/posix/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <thread>
#include <utility>

#include "platform/posix/process_tree.h"
#include "platform/posix/system_calls.h"
#include "platform/posix/system_error.h"

namespace mrb::platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPollWithoutDescriptor{5};
constexpr std::chrono::milliseconds kMaxPoll{60'000};
constexpr int kFirstOther = 3;  // descriptors behind the three streams

/// What the child does between being made and becoming the program.
class Preparation {
 public:
  explicit Preparation(const ChildStart& start) {
    ::posix_spawnattr_init(&attributes_);
    ::posix_spawn_file_actions_init(&actions_);
    constexpr int kFlags = POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    ::posix_spawnattr_setflags(&attributes_, static_cast<short>(kFlags));
    sigset_t signals;
    sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes_, &signals);
    sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes_, &signals);
    add_streams(start);
    ::posix_spawn_file_actions_addclosefrom_np(&actions_, kFirstOther);
    if (!start.folder.empty()) {
      ::posix_spawn_file_actions_addchdir_np(&actions_, start.folder.c_str());
    }
  }
  Preparation(const Preparation&) = delete;
  Preparation& operator=(const Preparation&) = delete;
  ~Preparation() {
    ::posix_spawnattr_destroy(&attributes_);
    ::posix_spawn_file_actions_destroy(&actions_);
  }

  [[nodiscard]] const posix_spawnattr_t* attributes() const { return &attributes_; }
  [[nodiscard]] const posix_spawn_file_actions_t* actions() const { return &actions_; }

 private:
  /// The first terminal that a session's leader opens becomes the session's own.
  void add_streams(const ChildStart& start) {
    const bool has_terminal = !start.terminal.empty();
    ::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO,
                                       has_terminal ? start.terminal.c_str() : "/dev/null",
                                       has_terminal ? O_RDWR : O_RDONLY, 0);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
      ::posix_spawn_file_actions_adddup2(&actions_, has_terminal ? STDIN_FILENO : start.output,
                                         stream);
    }
  }

  posix_spawnattr_t attributes_{};
  posix_spawn_file_actions_t actions_{};
};

std::vector<std::string> ChildEnvironment(const ChildStart& start, const std::string& mark) {
  if (start.terminal.empty()) {
    std::vector<std::string> environment = EnvironmentWithout({kTreeVariable});
    environment.push_back(mark);
    return environment;
  }
  // What the resident's own terminal was says nothing about the child's.
  std::vector<std::string> environment =
      EnvironmentWithout({kTreeVariable, "TERM", "COLUMNS", "LINES", "TMUX", "STY"});
  environment.push_back(mark);
  environment.emplace_back("TERM=xterm-256color");
  return environment;
}

}  // namespace

std::vector<std::string> EnvironmentWithout(const std::vector<std::string_view>& names) {
  std::vector<std::string> kept;
  for (char** at = environ; at != nullptr && *at != nullptr; ++at) {
    const std::string_view entry(*at);
    if (std::ranges::find(names, entry.substr(0, entry.find('='))) == names.end()) {
      kept.emplace_back(entry);
    }
  }
  return kept;
}

std::vector<char*> NullEnded(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

Result<std::unique_ptr<ChildProcess>> ChildProcess::start(const ChildStart& start) {
  const std::string mark = NewTreeMark();
  const Preparation preparation(start);
  const std::vector<std::string> environment = ChildEnvironment(start, mark);
  pid_t id = 0;
  const int failed = ::posix_spawnp(&id, start.arguments[0].c_str(), preparation.actions(),
                                    preparation.attributes(), NullEnded(start.arguments).data(),
                                    NullEnded(environment).data());
  if (failed != 0) return std::unexpected(SystemError(failed, "start", start.arguments[0]));
  return std::unique_ptr<ChildProcess>(new ChildProcess(id, mark));
}

ChildProcess::ChildProcess(pid_t id, std::string mark) : id_(id), mark_(std::move(mark)) {}

ChildProcess::~ChildProcess() {
  if (id_ == 0) return;
  end_tree();
  static_cast<void>(await_end(std::nullopt));
  static_cast<void>(reap());
}

Descriptor ChildProcess::watch_end() const {
  return WatchProcessEnd(id_);
}

bool ChildProcess::has_ended() const {
  siginfo_t info{};
  ::waitid(P_PID, static_cast<id_t>(id_), &info, WEXITED | WNOHANG | WNOWAIT);
  return info.si_pid != 0;
}

bool ChildProcess::await_end(std::optional<std::chrono::milliseconds> limit) const {
  if (has_ended()) return true;
  const Descriptor end = watch_end();
  const auto deadline = Clock::now() + limit.value_or(std::chrono::milliseconds{0});
  while (!has_ended()) {
    auto wait = end ? kMaxPoll : kPollWithoutDescriptor;
    if (limit) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
      if (left.count() <= 0) return false;
      wait = std::min(wait, left);
    }
    pollfd poll{end.get(), POLLIN, 0};  // a negative descriptor is passed over
    ::poll(&poll, 1, static_cast<int>(wait.count()));
  }
  return true;
}

std::uint32_t ChildProcess::reap() {
  const std::scoped_lock lock(mutex_);
  int status = 0;
  Uninterrupted([&] { return ::waitpid(std::exchange(id_, 0), &status, 0); });
  constexpr int kSignalBase = 128;
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : kSignalBase + WTERMSIG(status);
  return static_cast<std::uint32_t>(code);
}

void ChildProcess::hang_up(pid_t group) const {
  const std::scoped_lock lock(mutex_);
  if (id_ == 0) return;
  for (const pid_t each : {id_, group}) {
    if (each <= 1) continue;
    ::kill(-each, SIGHUP);
    ::kill(-each, SIGCONT);
  }
}

void ChildProcess::end_tree() const {
  const std::scoped_lock lock(mutex_);
  EndProcessTree(id_, mark_);
}

}  // namespace mrb::platform
