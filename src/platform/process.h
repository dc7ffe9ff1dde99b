#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "common/error.h"

namespace mrb::platform {

/// The process's arguments as UTF-8, its name first. On Windows they are read again from the wide
/// command line, whatever the runtime passed; elsewhere these are argv.
[[nodiscard]] std::vector<std::string> ProcessArguments(int argc, char** argv);

/// Full path of the running executable; empty when the system will not say.
[[nodiscard]] std::string ExecutablePath();

/// Nothing when the variable is not set.
[[nodiscard]] std::optional<std::string> EnvironmentVariable(const std::string& name);

/// Full path of the working directory; empty when it cannot be read.
[[nodiscard]] std::string CurrentDirectory();

[[nodiscard]] std::uint32_t ProcessId();

/// Where this user's short-lived files (locks) belong; made 0700 when missing, empty when
/// impossible.
[[nodiscard]] std::string RuntimeFolder();

/// Where a resident keeps what its clients look into also when it is gone: the runtime folder where
/// the system has one for a session, else the data home. Empty when neither is there.
[[nodiscard]] std::string SharedStateFolder(const std::string& data_home);

/// The data home when nothing else names one: in the machine's shared data folder on Windows, in
/// the user's on Linux; empty when the environment names none. Where another user of the Windows
/// machine has the usual one, its name goes on with this user's SID.
[[nodiscard]] std::string DefaultDataHome();

/// Starts `arguments` (the program's path first) with no console window, none of this process's
/// handles, its environment, and `folder` as working directory; it outlives this process and nobody
/// waits for it. What it prints goes nowhere; its standard input is empty, or on Windows that of a
/// hidden console, where a read waits for ever.
[[nodiscard]] Status SpawnDetached(const std::vector<std::string>& arguments,
                                   const std::string& folder);

/// The path against the working directory, when it is not absolute already; `.` and `..` may
/// remain.
[[nodiscard]] std::string AbsolutePath(const std::string& path);

/// Whether `home`, a name in the folder that holds the executable, can be this user's install home.
/// On Linux it can be one that is there, theirs and closed to others; or is missing, where `folder`
/// is theirs or root's and closed to others. Either way they must be able to write into `folder`,
/// which packages put out of reach. On Windows the executable's folder is the place by definition:
/// it only cannot be when `home` is somebody else's.
[[nodiscard]] bool CanInstallInto(const std::string& folder, const std::string& home);

/// The command line of the user's shell, quoted where it holds blanks: $SHELL or /bin/sh, %COMSPEC%
/// on Windows.
[[nodiscard]] std::string DefaultShell();

/// The user's home folder; empty when the environment names none.
[[nodiscard]] std::string UserHome();

}  // namespace mrb::platform
