#include "platform/posix/process_tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
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

constexpr int kMaxRounds = 200;
constexpr std::chrono::milliseconds kBetweenRounds{2};
constexpr std::size_t kMaxEnvironment = std::size_t{2} << 20U;  // the system's own bound is near

struct Process {
  pid_t id = 0;
  pid_t parent = 0;
  pid_t session = 0;
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

/// Reads "id (name) state parent group session …"; a name may hold anything, brackets too. False
/// for a process that is gone, or is dead and only waits to be reaped.
bool ReadProcess(pid_t id, Process& process) {
  const std::string stat = ReadSmallFile("/proc/" + std::to_string(id) + "/stat", 4096);
  const auto name_end = stat.rfind(')');
  if (name_end == std::string::npos) return false;
  const auto words = SplitWords(std::string_view(stat).substr(name_end + 1));
  if (words.size() < 4 || words[0] == "Z" || words[0] == "X") return false;
  process = {id, NumberOf(words[1]), NumberOf(words[3])};
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

bool IsMarked(pid_t id, const std::string& mark) {
  const std::string environment =
      ReadSmallFile("/proc/" + std::to_string(id) + "/environ", kMaxEnvironment);
  return environment.find(mark) != std::string::npos;
}

/// The tree's living members. Repeats until no process is found whose parent was found before it.
std::vector<pid_t> Members(pid_t root, const std::string& mark) {
  const std::vector<Process> all = AllProcesses();
  std::vector<pid_t> members;
  const auto is_member = [&](pid_t id) { return std::ranges::find(members, id) != members.end(); };
  for (const Process& process : all) {
    if (process.id == ::getpid()) continue;
    const bool by_root = root != 0 && (process.id == root || process.session == root);
    if (by_root || IsMarked(process.id, mark)) members.push_back(process.id);
  }
  for (std::size_t before = members.size() + 1; before != members.size();) {
    before = members.size();
    for (const Process& process : all) {
      if (is_member(process.parent) && !is_member(process.id)) members.push_back(process.id);
    }
  }
  return members;
}

}  // namespace

std::string NewTreeMark() {
  constexpr std::size_t kDigits = 32;
  return std::string(kTreeVariable) + "=" + RandomText(kHexDigits, kDigits);
}

bool EndProcessTree(pid_t root, const std::string& mark) {
  for (int round = 0; round < kMaxRounds; ++round) {
    const std::vector<pid_t> members = Members(root, mark);
    if (members.empty()) return true;
    for (const pid_t id : members) ::kill(id, SIGKILL);
    std::this_thread::sleep_for(kBetweenRounds);
  }
  return false;
}

}  // namespace mrb::platform
