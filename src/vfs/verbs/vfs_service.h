#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vfs/verbs/versioned_files.h"

namespace mrb::vfs {

/// The versioned files of one process: every verb of the namespaces fs, fsvctl, fslock, fsstat,
/// fsmk, fsraw and grep, enrolment, and the store part of fssys. Thread-safe; each answer is whole.
class VfsService {
 public:
  explicit VfsService(VfsOptions options) : files_(std::move(options)) {}
  VfsService(const VfsService&) = delete;
  VfsService& operator=(const VfsService&) = delete;

  /// Enrols again what the lists say, on a thread of its own; the first command waits for it. A
  /// process that does not call this loads with its first command.
  void start() { files_.start(); }

  /// Runs one verb, in lower case, of one of the namespaces.
  [[nodiscard]] std::string execute(const VfsCall& call, std::string_view name_space,
                                    std::string_view verb, std::string_view arguments);

  /// The files of one store that an expression of the query language fits; `options` may hold
  /// --store=. Each is a line "  [n] path <…>".
  [[nodiscard]] std::string query(const VfsCall& call, std::string_view expression,
                                  std::string_view options);

  /// One version of a file, for whoever wants them all.
  struct FolderVersion {
    std::string name;  ///< of the file, without its folder
    std::uint32_t version = 0;
    VersionStamp stamp;
    Blob bytes;
  };
  /// The versions held in memory of every live file directly in a folder, by name and number;
  /// deletes are left out. Nothing when no store with versions holds the folder.
  [[nodiscard]] std::optional<std::vector<FolderVersion>> versions_in(const std::string& folder);

  /// What the routes under /vc/ answer, as JSON.
  [[nodiscard]] std::string directories_json();
  [[nodiscard]] std::string stores_json();

  /// The stores, once the lists have been read.
  [[nodiscard]] StoreRegistry& stores() {
    files_.load();
    return files_.registry();
  }

  [[nodiscard]] VersionedFiles& files() { return files_; }

 private:
  VersionedFiles files_;
};

}  // namespace mrb::vfs
