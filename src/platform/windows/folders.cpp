#include "platform/folders.h"

#include "platform/windows/wide.h"

namespace mrb::platform {

std::string AbsolutePath(const std::string& path) {
  const std::wstring full = FullPath(Widen(path));
  return full.empty() ? path : Narrow(full);
}

bool CanInstallInto(const std::string& /*folder*/) {
  return true;
}

}  // namespace mrb::platform
