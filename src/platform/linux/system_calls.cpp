#include "platform/posix/system_calls.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <string_view>

namespace mrb::platform {
namespace {

constexpr rlim_t kMaxDescriptors = 65536;  // for the slow way of closing; more are never open here

}  // namespace

std::string ExecutableLink() {
  std::array<char, PATH_MAX> path{};
  const auto length = ::readlink("/proc/self/exe", path.data(), path.size());
  if (length <= 0 || static_cast<std::size_t>(length) == path.size()) return {};
  std::string text(path.data(), static_cast<std::size_t>(length));
  // The system marks a program that was replaced while it ran; what lies at its path now is the one
  // to start again.
  static constexpr std::string_view kDeleted = " (deleted)";
  if (text.ends_with(kDeleted) && ::access(text.c_str(), F_OK) != 0) {
    text.resize(text.size() - kDeleted.size());
  }
  return text;
}

void CloseDescriptorsFrom(unsigned first) {
  if (::close_range(first, ~0U, 0) == 0) return;
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  const auto end = static_cast<int>(std::min(limit.rlim_cur, kMaxDescriptors));
  for (int fd = static_cast<int>(first); fd < end; ++fd) ::close(fd);
}

int RenameIfFree(const char* from, const char* to) {
  return ::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE);
}

int SyncFileSystemOf(int descriptor) {
  return ::syncfs(descriptor);
}

int UnsentBytes(int socket) {
  int bytes = 0;
  return ::ioctl(socket, SIOCOUTQ, &bytes) == 0 ? bytes : 0;
}

}  // namespace mrb::platform
