#include "platform/folders.h"

#include <sys/stat.h>
#include <unistd.h>

#include "platform/paths.h"
#include "platform/private_folder.h"
#include "platform/process.h"

namespace mrb::platform {

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

}  // namespace mrb::platform
