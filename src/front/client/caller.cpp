#include "front/client/caller.h"

#include "common/random_text.h"
#include "platform/process.h"
#include "server/http/caller_headers.h"

namespace mrb::front {

CallerFolder OwnFolder() {
  std::string folder = platform::CurrentDirectory();
  return folder.empty() ? CallerFolder::lost() : CallerFolder::known(std::move(folder));
}

std::string CallerHeaders(std::string_view data_home) {
  return server::FolderHeaders(OwnFolder()) + server::HomeHeader(data_home);
}

std::string NewCallId() {
  constexpr std::size_t kIdDigits = 32;
  return RandomText(kHexDigits, kIdDigits);
}

std::string CallHeader(std::string_view id) {
  return "X-Mrb-Call: " + std::string(id) + "\r\n";
}

}  // namespace mrb::front
