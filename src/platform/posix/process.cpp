#include "platform/process.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>

#include "platform/command_words.h"
#include "platform/paths.h"
#include "platform/posix/system_calls.h"
#include "platform/private_folder.h"

namespace mrb::platform {

namespace {

/// Whether `path` is a real folder of this user, in which nobody else can put or replace a name.
bool IsOwnFolder(const std::string& path) {
  struct stat info{};
  constexpr mode_t kOthersMayWrite = 0022;
  return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::geteuid() &&
         (info.st_mode & kOthersMayWrite) == 0;
}

std::string VariableOrEmpty(const char* name) {
  return EnvironmentVariable(name).value_or(std::string());
}

}  // namespace

std::vector<std::string> ProcessArguments(int argc, char** argv) {
  return {argv, argv + argc};
}

std::string ExecutablePath() {
  return ExecutableLink();
}

std::optional<std::string> EnvironmentVariable(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  if (value == nullptr) return std::nullopt;
  return value;
}

std::string CurrentDirectory() {
  std::array<char, PATH_MAX> path{};
  return ::getcwd(path.data(), path.size()) == nullptr ? std::string() : std::string(path.data());
}

std::uint32_t ProcessId() {
  return static_cast<std::uint32_t>(::getpid());
}

std::string RuntimeFolder() {
  std::string session = VariableOrEmpty("XDG_RUNTIME_DIR");
  if (!session.empty() && IsOwnFolder(session)) return session;
  // /tmp is everyone's: a folder that somebody else made first, or left open, is not ours to trust.
  const std::string own = "/tmp/mirebolt-" + std::to_string(::geteuid());
  ::mkdir(own.c_str(), S_IRWXU);
  return IsOwnFolder(own) ? own : std::string();
}

std::string DefaultDataHome() {
  if (const std::string data = VariableOrEmpty("XDG_DATA_HOME"); data.starts_with('/')) {
    return JoinPath(data, "mirebolt");
  }
  const std::string home = VariableOrEmpty("HOME");
  return home.empty() ? std::string() : JoinPath(home, ".local/share/mirebolt");
}

std::string SharedStateFolder(const std::string& data_home) {
  std::string folder = RuntimeFolder();
  return folder.empty() ? data_home : folder;
}

std::string AbsolutePath(const std::string& path) {
  return path.starts_with('/') ? path : JoinPath(CurrentDirectory(), path);
}

bool CanInstallInto(const std::string& folder, const std::string& home) {
  if (::access(folder.c_str(), W_OK) != 0) return false;
  const auto state = ExamineFolder(home);
  if (state != FolderState::kMissing) return state == FolderState::kOwn;
  struct stat info{};
  return ::stat(folder.c_str(), &info) == 0 && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0 &&
         (info.st_uid == ::geteuid() || info.st_uid == 0);
}

std::string DefaultShell() {
  std::string shell = EnvironmentVariable("SHELL").value_or("");
  const auto words = SplitCommandWords(shell);
  return words && words->size() == 1 ? shell : "/bin/sh";
}

std::string UserHome() {
  return EnvironmentVariable("HOME").value_or("");
}

}  // namespace mrb::platform
