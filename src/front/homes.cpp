#include "front/homes.h"

#include <array>

#include "platform/folders.h"
#include "platform/paths.h"
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

std::string Homes::host_book() const {
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
  // A packaged install lies where its users may not write; their own files then go to the data
  // home.
  if (!platform::CanInstallInto(homes.executable_folder)) {
    homes.install_home = homes.data_home;
  }
  return homes;
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
