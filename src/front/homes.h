#pragma once

#include <string>
#include <vector>

#include "platform/files.h"

namespace mrb::front {

/// The two folders everything lives under; derived anew from what they are given, never stored.
struct Homes {
  std::string executable_folder;
  std::string data_home;     ///< contexts, configuration, mirrors, logs
  std::string install_home;  ///< bots, tasks, chat logs

  [[nodiscard]] std::string contexts_folder() const;
  /// Where settings may be, in the order in which they are looked for.
  [[nodiscard]] std::vector<std::string> settings_files() const;
  [[nodiscard]] std::string host_book() const;  ///< of terminals
  [[nodiscard]] std::string log_path(int port) const;
};

/// `override_text` is the value of --conf or --home, made absolute against the working directory
/// (the resident runs in another one); empty: the system's place, else beside the executable.
/// Touches the disk only to learn whether the executable's folder can hold the install home.
[[nodiscard]] Homes ResolveHomes(const std::string& override_text);

/// Whether someone has configured this data home already.
[[nodiscard]] bool HasConfiguration(const Homes& homes, platform::FileSystem& files);

}  // namespace mrb::front
