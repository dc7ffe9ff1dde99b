#include "platform/shell_files.h"

#include <cstdlib>

namespace mrb::platform {
namespace {

std::string Quoted(const std::string& path) {
  std::string quoted = "'";
  for (const char c : path) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

int Run(const std::string& command) {
  return std::system(command.c_str());  // NOLINT: the command interpreter is what is asked for
}

}  // namespace

int ShellCopyFile(const std::string& from, const std::string& to) {
  return Run("cp -f -- " + Quoted(from) + " " + Quoted(to));
}

int ShellCopyTree(const std::string& from, const std::string& to) {
  return Run("cp -R -- " + Quoted(from) + " " + Quoted(to));
}

int ShellRemoveFile(const std::string& path) {
  return Run("rm -f -- " + Quoted(path));
}

int ShellRemoveTree(const std::string& path) {
  return Run("rm -rf -- " + Quoted(path));
}

}  // namespace mrb::platform
