#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/tree_visitor.h"
#include "vfs/model/nodes.h"

namespace mrb::vfs {

/// How many archived versions of one file a start reads into memory: the newest ones.
inline constexpr std::size_t kArchivedInMemory = 64;

/// Called with files done and files in all, now and then, from any thread.
using IngestProgress = std::function<void(std::uint64_t, std::uint64_t)>;

/// What reading a tree found.
struct IngestReport {
  std::uint64_t files = 0;
  std::uint64_t current_bytes = 0;
  std::uint64_t history_bytes = 0;
  std::uint64_t excluded_files = 0;
  std::uint64_t excluded_bytes = 0;
  std::map<std::string, std::uint64_t> excluded_by_extension;
  std::map<std::string, std::uint64_t> by_extension;  ///< admitted files
  std::vector<std::string> sample;                    ///< the first paths, at most 200
  std::uint64_t links = 0;                            ///< left out: symbolic links
  std::uint64_t special_files = 0;                    ///< left out: devices, pipes, sockets
  std::vector<std::string> unreadable;                ///< left out: what could not be read
  std::vector<std::string> pruned;  ///< left out: folders that are never looked into

  /// Counts a file that is in the tree and that the filters leave out.
  void exclude(std::string_view path, std::uint64_t size);

  /// Counts a file of the store with its history; a deleted one has its history alone.
  void add(const File& file);
};

/// What the tree, the mirror and the journal tell of one file.
struct IngestedFile {
  std::string path;
  bool on_disk = false;         ///< it is in the tree
  platform::FileStatus status;  ///< when it is
  bool is_read = false;         ///< the working file's bytes are in `bytes`
  bool failed = false;  ///< it is there but cannot be read, or its mirror copy cannot be written
  Blob bytes;
  std::vector<VersionRecord> records;   ///< its history, oldest first
  std::string lines;                    ///< of the journal, when it did not tell the history
  std::uint32_t next_archive = 1;       ///< the first free number
  std::uint32_t tombstone_version = 0;  ///< the version that the mirror's tombstone file holds
};

/// All that was read of a store's tree, for the store to take over.
struct IngestedTree {
  std::vector<IngestedFile> files;  ///< those in the tree first, by name
  /// The mirror was empty and has been given the copies of all new files; neither flushed nor told
  /// of in the journal yet, and the mark of a fill stands.
  bool is_fill = false;
  platform::FolderMemory folders;  ///< of the walk, for the next one
  IngestReport report;             ///< what was left out; the files are not counted yet
};

}  // namespace mrb::vfs
