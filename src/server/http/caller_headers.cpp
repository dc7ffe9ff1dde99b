#include "server/http/caller_headers.h"

#include "common/url.h"
#include "platform/paths.h"

namespace mrb::server {
namespace {

constexpr std::size_t kMaxPlainFolder = 260;  // of X-Mrb-Cwd, the terminating zero included
constexpr std::string_view kLost = "-";

CallerFolder Checked(std::string folder) {
  const bool usable = platform::IsAbsolutePath(folder) && folder.find('\0') == std::string::npos;
  return usable ? CallerFolder::known(std::move(folder)) : CallerFolder::lost();
}

}  // namespace

std::string FolderHeaders(const CallerFolder& folder) {
  if (!folder.is_known()) return "X-Mrb-Folder: -\r\n";
  std::string lines;
  const bool plain = folder.path.size() < kMaxPlainFolder &&
                     folder.path.find_first_of("\r\n") == std::string::npos;
  if (plain) lines.append("X-Mrb-Cwd: ").append(folder.path).append("\r\n");
  return lines.append("X-Mrb-Folder: ").append(EncodePath(folder.path)).append("\r\n");
}

std::string HomeHeader(std::string_view data_home) {
  if (data_home.empty()) return {};
  return "X-Mrb-Home: " + EncodePath(data_home) + "\r\n";
}

CallerFolder ReadCallerFolder(const Request& request) {
  if (const auto folder = request.header("x-mrb-folder"); !folder.empty()) {
    return folder == kLost ? CallerFolder::lost() : Checked(DecodePercent(folder));
  }
  const auto folder = request.header("x-mrb-cwd");
  return folder.empty() ? CallerFolder() : Checked(std::string(folder));
}

std::string ReadExpectedHome(const Request& request) {
  return DecodePercent(request.header("x-mrb-home"));
}

}  // namespace mrb::server
