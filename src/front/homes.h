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
  [[nodiscard]] std::string saved_hosts() const;  ///< of terminals
  [[nodiscard]] std::string log_path(int port) const;
};

/// `override_text` is the value of --conf or --home, made absolute against the working directory
/// (the resident runs in another one); empty: the system's place, else beside the executable.
/// Touches the disk only to learn whether the places are the user's to have: where the executable's
/// folder cannot hold the install home, that is the data home.
[[nodiscard]] Homes ResolveHomes(const std::string& override_text);

/// Makes the homes that are missing, for their user alone, and fails unless both are the user's and
/// nobody else may write into them: what others put there would be believed. The text says whose a
/// home is and what to run. Changes nothing of what is there. A home that cannot be made is left to
/// whoever writes into it. To be asked before anything below a home is read or written, and before
/// a resident is started for them; whoever hands a command to a running resident needs no home.
[[nodiscard]] Status ClaimHomes(const Homes& homes);

/// Like ClaimHomes(), but writes what is wrong to standard error and returns false.
[[nodiscard]] bool ClaimHomesOrSay(const Homes& homes);

/// Whether someone has configured this data home already.
[[nodiscard]] bool HasConfiguration(const Homes& homes, platform::FileSystem& files);

}  // namespace mrb::front
