#include "platform/posix/child_start.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

#include "platform/posix/system_error.h"

namespace mrb::platform {
namespace {

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
    add_control(start.control);
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
    const int output = has_terminal || start.output < 0 ? STDIN_FILENO : start.output;
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
      ::posix_spawn_file_actions_adddup2(&actions_, output, stream);
    }
  }

  void add_control(int control) {
    if (control >= 0) {
      ::posix_spawn_file_actions_adddup2(&actions_, control, kControlDescriptor);
    }
    ::posix_spawn_file_actions_addclosefrom_np(
        &actions_, control >= 0 ? kControlDescriptor + 1 : kControlDescriptor);
  }

  posix_spawnattr_t attributes_{};
  posix_spawn_file_actions_t actions_{};
};

}  // namespace

Result<pid_t> StartChild(const ChildStart& start, const std::vector<std::string>& environment) {
  const Preparation preparation(start);
  pid_t id = 0;
  const std::string& program = start.program.empty() ? start.arguments[0] : start.program;
  const int failed =
      ::posix_spawnp(&id, program.c_str(), preparation.actions(), preparation.attributes(),
                     NullEnded(start.arguments).data(), NullEnded(environment).data());
  if (failed != 0) return std::unexpected(SystemError(failed, "start", start.arguments[0]));
  return id;
}

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

}  // namespace mrb::platform
