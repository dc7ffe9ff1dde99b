#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/error.h"
#include "platform/files.h"

namespace mrb::server {

/// One saved command line.
struct TerminalHost {
  std::string name;
  std::string command;

  bool operator==(const TerminalHost&) const = default;
};

/// The text of a host book: a line `name = command` each, in order. Of lines with the same name the
/// first counts; what has no such form, or a name against the rule, is passed over, as are blank
/// lines and those that begin with "#".
[[nodiscard]] std::vector<TerminalHost> ParseHosts(std::string_view text);
[[nodiscard]] std::string FormatHosts(const std::vector<TerminalHost>& hosts);

/// The saved hosts of a data home, read anew for each call, so that the file may be edited by hand.
/// Thread-safe.
class SavedHosts {
 public:
  SavedHosts(platform::FileSystem& files, std::string path)
      : files_(files), path_(std::move(path)) {}

  [[nodiscard]] std::vector<TerminalHost> list();
  [[nodiscard]] std::optional<std::string> command_of(std::string_view name);

  /// Adds a host, or gives the one of that name another command. The name and the command, one line
  /// that is not blank, are the caller's to check.
  [[nodiscard]] Status save(const TerminalHost& host);

  /// kNotFound when there is none of that name.
  [[nodiscard]] Status remove(std::string_view name);

 private:
  [[nodiscard]] Result<std::vector<TerminalHost>> read();
  [[nodiscard]] Status write(const std::vector<TerminalHost>& hosts);

  static constexpr std::size_t kMaxBytes = std::size_t{1} << 20U;  ///< of a file that is a book

  platform::FileSystem& files_;
  const std::string path_;
  std::mutex mutex_;  // so that of two saves at once none is lost
};

}  // namespace mrb::server
