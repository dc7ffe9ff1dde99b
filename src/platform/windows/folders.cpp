#include "platform/folders.h"

#include "platform/private_folder.h"
#include "platform/windows/wide.h"

namespace mrb::platform {

std::string AbsolutePath(const std::string& path) {
  const std::wstring full = FullPath(Widen(path));
  return full.empty() ? path : Narrow(full);
}

bool CanInstallInto(const std::string& /*folder*/, const std::string& home) {
  return ExamineFolder(home) != FolderState::kForeign;
}

}  // namespace mrb::platform
