#include "platform/private_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "platform/posix/system_error.h"
#include "platform/posix/user_name.h"

namespace mrb::platform {
namespace {

/// As a shell takes it back.
std::string Quoted(const std::string& path) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+,:@";
  if (path.find_first_not_of(kPlain) == std::string::npos) return path;
  std::string quoted = "'";
  for (const char c : path) quoted += c == '\'' ? R"('\'')" : std::string(1, c);
  return quoted + "'";
}

}  // namespace

Result<FolderState> ExamineFolder(const std::string& path) {
  struct stat info{};
  if (::stat(path.c_str(), &info) != 0) {
    if (errno != ENOENT) return FailErrno("examine", path);
    return ::lstat(path.c_str(), &info) == 0 ? FolderState::kNoFolder : FolderState::kMissing;
  }
  if (!S_ISDIR(info.st_mode)) return FolderState::kNoFolder;
  if (info.st_uid != ::geteuid()) return FolderState::kForeign;
  return (info.st_mode & (S_IWGRP | S_IWOTH)) == 0 ? FolderState::kOwn : FolderState::kOpen;
}

std::string FolderOwner(const std::string& path) {
  struct stat info{};
  if (::stat(path.c_str(), &info) != 0) return {};
  return UserName(info.st_uid);
}

std::string ClosingCommands(const std::string& path) {
  return "chmod go-w " + Quoted(path);
}

std::string TakingCommand(const std::string& path) {
  return "chown -RH " + std::to_string(::geteuid()) + " " + Quoted(path);
}

}  // namespace mrb::platform
