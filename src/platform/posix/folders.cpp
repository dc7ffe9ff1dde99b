#include "platform/folders.h"

#include <unistd.h>

#include "platform/paths.h"
#include "platform/process.h"

namespace mrb::platform {

std::string AbsolutePath(const std::string& path) {
  return path.starts_with('/') ? path : JoinPath(CurrentDirectory(), path);
}

bool CanInstallInto(const std::string& folder) {
  return ::access(folder.c_str(), W_OK) == 0;
}

}  // namespace mrb::platform
