#pragma once

#include <string>

namespace mrb::platform {

/// Copying and removing by the system's own commands, run by its command interpreter. Each answers
/// the command's exit status, or -1 when none could be run. Paths are quoted; one that cannot be
/// (a quote on Windows, which no name there can hold) is refused with -1.

int ShellCopyFile(const std::string& from, const std::string& to);
int ShellCopyTree(const std::string& from, const std::string& to);
int ShellRemoveFile(const std::string& path);
int ShellRemoveTree(const std::string& path);

}  // namespace mrb::platform
