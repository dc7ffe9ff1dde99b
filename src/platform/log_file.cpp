#include "platform/log_file.h"

#include "platform/files.h"

namespace mrb::platform {
namespace {

constexpr std::uint64_t kMaxLogBytes = 5'000'000;

}  // namespace

void SetAsideLargeLog(const std::string& path) {
  FileSystem& files = SystemFiles();
  const auto log = files.status(path);
  if (!log || log->size <= kMaxLogBytes) return;
  static_cast<void>(files.rename_replace(path, path + ".old"));
}

}  // namespace mrb::platform
