#include "front/homes.h"

#include <array>
#include <string_view>
#include <utility>

#include "common/text.h"
#include "platform/console.h"
#include "platform/paths.h"
#include "platform/private_folder.h"
#include "platform/process.h"

namespace mrb::front {
namespace {

using platform::JoinPath;

constexpr const char* kDotFolder = ".mirebolt";

std::string ExecutableFolder() {
  const std::string path = platform::ExecutablePath();
  return path.empty() ? "." : platform::ParentPath(path);
}

std::string DataHome(const std::string& override_text, const std::string& executable_folder) {
  if (!override_text.empty()) return platform::AbsolutePath(override_text);
  std::string home = platform::DefaultDataHome();
  return home.empty() ? JoinPath(executable_folder, kDotFolder) : home;
}

std::string Indented(const std::string& commands) {
  std::string lines;
  for (const std::string_view line : Split(commands, '\n')) lines.append("\n    ").append(line);
  return lines;
}

/// `name` says which home it is, `elsewhere` how to have another one.
Status CheckHome(const std::string& home, std::string name, const std::string& elsewhere) {
  using enum platform::FolderState;
  const auto state = platform::ExamineFolder(home);
  if (!state) return Fail(state.error().kind, state.error().text + "\n" + elsewhere);
  name += " " + home;
  std::string text;
  switch (*state) {
    case kMissing:
    case kOwn:
      return {};
    case kNoFolder:
      text = name + " is no folder\n" + elsewhere + ", or move away what is there";
      break;
    case kForeign: {
      const std::string owner = platform::FolderOwner(home);
      text = name + " belongs to " + (owner.empty() ? "another user" : "'" + owner + "'") +
             ", not to you\n" + elsewhere +
             "; or, if it should be yours and you trust what is in it, have an administrator run" +
             Indented(platform::TakingCommand(home));
      break;
    }
    case kOpen:
      text = "others may write into " + name + "\n" + elsewhere +
             "; or, if you trust what is in it, run" + Indented(platform::ClosingCommands(home));
  }
  return Fail(ErrorKind::kInvalidArgument, std::move(text));
}

Status CheckHomes(const Homes& homes) {
  Status fine = CheckHome(homes.data_home, "the data home", "Name another one with --conf DIR");
  if (!fine || homes.install_home == homes.data_home) return fine;
  return CheckHome(homes.install_home, "the install home",
                   "Use a copy of the executable in a folder of yours (--conf moves only the data "
                   "home)");
}

}  // namespace

std::string Homes::contexts_folder() const {
  return JoinPath(data_home, ".contexts");
}

std::vector<std::string> Homes::settings_files() const {
  std::vector<std::string> paths;
  for (const std::string& home : {data_home, install_home}) {
    paths.push_back(JoinPath(home, "mirebolt.cfg"));
    paths.push_back(JoinPath(JoinPath(home, "config"), "mirebolt.cfg"));
  }
  return paths;
}

std::string Homes::saved_hosts() const {
  return JoinPath(JoinPath(data_home, "config"), "mterm-hosts.cfg");
}

std::string Homes::log_path(int port) const {
  return JoinPath(JoinPath(data_home, "logs"), "resident-" + std::to_string(port) + ".log");
}

Homes ResolveHomes(const std::string& override_text) {
  Homes homes;
  homes.executable_folder = ExecutableFolder();
  homes.data_home = DataHome(override_text, homes.executable_folder);
  homes.install_home = JoinPath(homes.executable_folder, kDotFolder);
  // A packaged install lies where its users may not write, and one that several use belongs to one
  // of them; the files of the others then go to their data home.
  if (!platform::CanInstallInto(homes.executable_folder, homes.install_home)) {
    homes.install_home = homes.data_home;
  }
  return homes;
}

Status ClaimHomes(const Homes& homes) {
  if (Status fine = CheckHomes(homes); !fine) return fine;
  for (const std::string& home : {homes.data_home, homes.install_home}) {
    static_cast<void>(platform::MakeDirectories(platform::SystemFiles(), home));
  }
  // Again: where a home was missing, somebody else may have been quicker.
  return CheckHomes(homes);
}

bool ClaimHomesOrSay(const Homes& homes) {
  const Status claimed = ClaimHomes(homes);
  if (!claimed) platform::WriteStderr("Mirebolt: " + claimed.error().text + "\n");
  return claimed.has_value();
}

bool HasConfiguration(const Homes& homes, platform::FileSystem& files) {
  const std::string config = JoinPath(homes.data_home, "config");
  const std::array candidates{JoinPath(homes.data_home, "mirebolt.cfg"),
                              JoinPath(config, "mirebolt.cfg"),
                              JoinPath(config, "versioncontroldirs.cfg")};
  for (const std::string& path : candidates) {
    if (platform::Exists(files, path)) return true;
  }
  return false;
}

}  // namespace mrb::front
