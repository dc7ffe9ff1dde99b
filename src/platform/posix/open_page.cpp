#include "platform/open_page.h"

#include <unistd.h>

#include <string_view>

#include "common/text.h"
#include "platform/paths.h"
#include "platform/process.h"

namespace mrb::platform {
namespace {

bool IsSet(const char* name) {
  return !EnvironmentVariable(name).value_or("").empty();
}

std::string FindProgram(std::string_view name) {
  const std::string path = EnvironmentVariable("PATH").value_or("/usr/local/bin:/usr/bin:/bin");
  for (const std::string_view folder : Split(path, ':')) {
    const std::string program = JoinPath(folder, name);
    if (folder.starts_with('/') && ::access(program.c_str(), X_OK) == 0) return program;
  }
  return {};
}

}  // namespace

bool OpenPage(const std::string& url) {
  if (!IsSet("DISPLAY") && !IsSet("WAYLAND_DISPLAY")) return false;
  const std::string opener = FindProgram("xdg-open");
  return !opener.empty() && SpawnDetached({opener, url}, "/").has_value();
}

}  // namespace mrb::platform
