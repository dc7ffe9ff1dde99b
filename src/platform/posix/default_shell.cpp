#include "platform/default_shell.h"

#include "platform/command_words.h"
#include "platform/process.h"

namespace mrb::platform {

std::string DefaultShell() {
  std::string shell = EnvironmentVariable("SHELL").value_or("");
  const auto words = SplitCommandWords(shell);
  return words && words->size() == 1 ? shell : "/bin/sh";
}

std::string UserHome() {
  return EnvironmentVariable("HOME").value_or("");
}

}  // namespace mrb::platform
