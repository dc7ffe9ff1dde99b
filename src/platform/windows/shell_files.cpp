#include "platform/shell_files.h"

#include <cstdlib>

#include "platform/windows/wide.h"

namespace mrb::platform {
namespace {

/// Empty when the command interpreter would read something else: it expands "%" inside quotes too.
std::string Quoted(const std::string& path) {
  if (path.find_first_of("\"%\r\n") != std::string::npos) return {};
  return "\"" + path + "\"";
}

int Run(const std::string& command, const std::string& path) {
  if (path.empty()) return -1;
  return ::_wsystem(Widen(command + path).c_str());
}

std::string Both(const std::string& from, const std::string& to) {
  const std::string first = Quoted(from);
  const std::string second = Quoted(to);
  return first.empty() || second.empty() ? std::string() : first + " " + second;
}

}  // namespace

int ShellCopyFile(const std::string& from, const std::string& to) {
  return Run("copy /Y ", Both(from, to));
}

int ShellCopyTree(const std::string& from, const std::string& to) {
  return Run("xcopy /E /I /Y ", Both(from, to));
}

int ShellRemoveFile(const std::string& path) {
  return Run("del /F /Q ", Quoted(path));
}

int ShellRemoveTree(const std::string& path) {
  return Run("rmdir /S /Q ", Quoted(path));
}

}  // namespace mrb::platform
