#include "vfs/watch/watch_lock.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "common/fnv1a.h"
#include "common/text.h"

namespace mrb::vfs {
namespace {

constexpr std::size_t kMaxNameBytes = 40;  // enough to recognise, far from any limit of a name

bool IsPlain(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' ||
         c == '_';
}

}  // namespace

std::string WatchLockName(std::string_view root, platform::PathStyle style) {
  std::string path(root);
  if (style == platform::PathStyle::kWindows) {
    path = LowerAscii(path);
    std::ranges::replace(path, '\\', '/');
  }
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  std::string name = path.substr(path.rfind('/') + 1, kMaxNameBytes);
  std::ranges::replace_if(name, [](char c) { return !IsPlain(c); }, '_');
  std::array<char, 16> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), Fnv1a(path), 16);
  return name.append("-").append(digits.data(), end.ptr).append(".lock");
}

Result<platform::FileLock> OwnRoot(platform::FileSystem& files, const std::string& locks_folder,
                                   const std::string& root) {
  if (const Status made = platform::MakeDirectories(files, locks_folder); !made) {
    return std::unexpected(made.error());
  }
  auto lock =
      platform::FileLock::try_acquire(platform::JoinPath(locks_folder, WatchLockName(root)));
  if (!lock && lock.error().kind == ErrorKind::kBusy) {
    return Fail(ErrorKind::kBusy, std::string(kFollowerMessage));
  }
  return lock;
}

}  // namespace mrb::vfs
