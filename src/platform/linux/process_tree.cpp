#include "platform/posix/process_tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <memory>
#include <thread>
#include <vector>

#include "common/random_text.h"
#include "common/text.h"
#include "platform/posix/descriptor.h"

namespace mrb::platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kEmptyRounds = 2;
constexpr std::chrono::milliseconds kBetweenRounds{2};
constexpr std::size_t kMaxEnvironment = std::size_t{2} << 20U;  // the system's own bound is near

struct Process {
  pid_t id = 0;
  pid_t parent = 0;
};

std::string ReadSmallFile(const std::string& path, std::size_t limit) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  std::string text;
  if (!file) return text;
  std::array<char, 4096> piece;  // NOLINT: filled by the system
  while (text.size() < limit) {
    const auto got = Uninterrupted([&] { return ::read(file.get(), piece.data(), piece.size()); });
    if (got <= 0) break;
    text.append(piece.data(), static_cast<std::size_t>(got));
  }
  return text;
}

pid_t NumberOf(std::string_view text) {
  pid_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

/// Whether a "state parent group session …" is that of a process that only waits to be reaped. One
/// whose first thread has ended looks the same but for its number of threads.
bool IsDead(const std::vector<std::string_view>& words) {
  constexpr std::size_t kThreads = 17;
  return words[0] == "X" || (words[0] == "Z" && NumberOf(words[kThreads]) <= 1);
}

/// Reads "id (name) state parent …"; a name may hold anything, brackets too. False for a process
/// that is gone or dead.
bool ReadProcess(pid_t id, Process& process) {
  constexpr std::size_t kWords = 18;
  const std::string stat = ReadSmallFile("/proc/" + std::to_string(id) + "/stat", 4096);
  const auto name_end = stat.rfind(')');
  if (name_end == std::string::npos) return false;
  const auto words = SplitWords(std::string_view(stat).substr(name_end + 1));
  if (words.size() < kWords || IsDead(words)) return false;
  process = {id, NumberOf(words[1])};
  return true;
}

std::vector<Process> AllProcesses() {
  std::vector<Process> all;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc"), &::closedir);
  if (folder == nullptr) return all;
  while (const dirent* entry = ::readdir(folder.get())) {
    const pid_t id = NumberOf(entry->d_name);
    if (Process process; id > 0 && ReadProcess(id, process)) all.push_back(process);
  }
  return all;
}

std::string EnvironmentOf(pid_t id) {
  return '\0' + ReadSmallFile("/proc/" + std::to_string(id) + "/environ", kMaxEnvironment);
}

/// A look at all processes, for the members of one tree among them.
class Look {
 public:
  Look(pid_t supervisor, const std::string& mark)
      : supervisor_(supervisor),
        none_('\0' + std::string(kTreeVariable) + '='),
        all_(AllProcesses()) {
    none_ += kNoTree;
    none_ += '\0';
    for (const Process& process : all_) {
      if (process.id == supervisor || process.id == ::getpid()) continue;
      if (EnvironmentOf(process.id).find(mark) != std::string::npos) add(process.id);
    }
    // Repeats until no process is found whose parent was found before it.
    for (std::size_t before = members_.size() + 1; before != members_.size();) {
      before = members_.size();
      for (const Process& process : all_) {
        if (descends(process)) add(process.id);
      }
    }
  }

  [[nodiscard]] const std::vector<pid_t>& members() const { return members_; }

 private:
  static bool holds(const std::vector<pid_t>& ids, pid_t id) {
    return std::ranges::find(ids, id) != ids.end();
  }

  [[nodiscard]] bool descends(const Process& process) const {
    const bool by_parent =
        (supervisor_ != 0 && process.parent == supervisor_) || holds(members_, process.parent);
    return by_parent && !holds(members_, process.id) && !holds(left_, process.id);
  }

  void add(pid_t id) {
    const bool has_left = EnvironmentOf(id).find(none_) != std::string::npos;
    (has_left ? left_ : members_).push_back(id);
  }

  const pid_t supervisor_;
  std::string none_;
  const std::vector<Process> all_;
  std::vector<pid_t> members_;
  std::vector<pid_t> left_;  // the tree, on purpose
};

/// The members that may not be killed; `killed` says whether any could be.
std::vector<pid_t> KillAll(const std::vector<pid_t>& members, bool& killed) {
  std::vector<pid_t> refused;
  for (const pid_t id : members) {
    if (::kill(id, SIGKILL) != 0 && errno == EPERM) {
      refused.push_back(id);
    } else {
      killed = true;
    }
  }
  return refused;
}

}  // namespace

std::string NewTreeMark() {
  constexpr std::size_t kDigits = 32;
  return std::string(kTreeVariable) + "=" + RandomText(kHexDigits, kDigits);
}

std::vector<pid_t> EndProcessTree(pid_t supervisor, const std::string& mark,
                                  std::chrono::milliseconds patience) {
  const auto deadline = Clock::now() + patience;
  for (int empty = 0;;) {
    const Look look(supervisor, mark);
    bool killed = false;
    std::vector<pid_t> refused = KillAll(look.members(), killed);
    empty = killed ? 0 : empty + 1;
    if (empty == kEmptyRounds) return refused;
    if (Clock::now() >= deadline) return look.members();
    std::this_thread::sleep_for(kBetweenRounds);
  }
}

}  // namespace mrb::platform
