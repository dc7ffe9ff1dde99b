#include "platform/posix/child_process.h"

#include <poll.h>

#include <algorithm>
#include <csignal>
#include <utility>

#include "platform/posix/process_tree.h"

namespace mrb::platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatienceWithTheKilled{5000};
constexpr std::uint32_t kKilled = 128 + SIGKILL;

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

Result<std::unique_ptr<ChildProcess>> ChildProcess::start(const ChildStart& start) {
  const std::string mark = NewTreeMark();
  auto supervisor = TreeSupervisor::start(start, ChildEnvironment(start, mark));
  if (!supervisor) return std::unexpected(std::move(supervisor.error()));
  return std::unique_ptr<ChildProcess>(new ChildProcess(std::move(*supervisor), mark));
}

ChildProcess::ChildProcess(TreeSupervisor supervisor, std::string mark)
    : supervisor_(std::move(supervisor)), mark_(std::move(mark)) {}

ChildProcess::~ChildProcess() {
  if (!is_over_) static_cast<void>(end_tree());
}

bool ChildProcess::await_end(std::chrono::milliseconds limit) const {
  const auto deadline = Clock::now() + limit;
  while (!has_ended()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    pollfd poll{watch_end(), POLLIN, 0};
    ::poll(&poll, 1, static_cast<int>(left.count()));
  }
  return true;
}

std::uint32_t ChildProcess::reap() {
  const std::scoped_lock lock(mutex_);
  is_over_ = true;
  const auto code = supervisor_.exit_code();
  if (code) supervisor_.settle();
  if (supervisor_.was_killed()) static_cast<void>(EndProcessTree(0, mark_, kPatienceWithTheKilled));
  return code.value_or(kKilled);
}

void ChildProcess::hang_up(pid_t group) const {
  const std::scoped_lock lock(mutex_);
  if (has_ended()) return;
  for (const pid_t each : {supervisor_.program(), group}) {
    if (each <= 1) continue;
    ::kill(-each, SIGHUP);
    ::kill(-each, SIGCONT);
  }
}

std::vector<pid_t> ChildProcess::end_tree() const {
  const std::scoped_lock lock(mutex_);
  is_over_ = true;
  // One that a program of its tree has stopped tells of no end.
  if (supervisor_.id() != 0) ::kill(supervisor_.id(), SIGCONT);
  return EndProcessTree(supervisor_.id(), mark_, kPatienceWithTheKilled);
}

}  // namespace mrb::platform
