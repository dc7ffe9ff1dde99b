#include "platform/default_shell.h"

#include "platform/process.h"

namespace mrb::platform {

std::string DefaultShell() {
  const std::string shell = EnvironmentVariable("COMSPEC").value_or("");
  if (shell.empty()) return "cmd.exe";
  return shell.find(' ') == std::string::npos ? shell : '"' + shell + '"';
}

std::string UserHome() {
  return EnvironmentVariable("USERPROFILE").value_or("");
}

}  // namespace mrb::platform
