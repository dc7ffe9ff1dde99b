#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/files.h"
#include "platform/sync_all.h"
#include "platform/tree_visitor.h"
#include "vfs/mirror/journal.h"
#include "vfs/mirror/mirror_layout.h"
#include "vfs/mirror/version_write.h"
#include "vfs/model/blob.h"
#include "vfs/model/file_table.h"
#include "vfs/model/lock_table.h"
#include "vfs/policy/policy.h"
#include "vfs/store/ingested_tree.h"
#include "vfs/store/store_setup.h"
#include "vfs/store/tree_rules.h"

namespace mrb::vfs {

/// One enrolled directory: every file with its whole history in memory, mirrored to disk change by
/// change. RAM and mirror agree whenever the lock is free.
///
/// Every operation takes the store's lock for its whole run. A caller that needs several steps to
/// be one (set the author, save, read the message) holds lock() itself.
///
/// Operations that fail answer false and leave the reason in message(); what they could not do they
/// have undone. Those that succeed may leave a notice there.
class VersionStore {
 public:
  using Lock = std::unique_lock<std::recursive_mutex>;

  explicit VersionStore(StoreSetup setup);

  [[nodiscard]] Lock lock() { return Lock(mutex_); }

  // What it is. The disk root, category and mode never change.
  [[nodiscard]] const std::string& disk_root() const { return places_.disk_root; }
  [[nodiscard]] const std::string& mirror_root() const { return layout_.root(); }
  [[nodiscard]] StoreCategory category() const { return setup_.category; }
  [[nodiscard]] bool is_follower() const { return setup_.follower; }
  [[nodiscard]] bool is_cache() const {
    return setup_.policy.mode == Policy::Mode::kCacheWriteThrough;
  }
  [[nodiscard]] bool is_mirrored() const { return places_.mirror != nullptr; }

  // The rest needs lock() for as long as an answer is used.
  [[nodiscard]] const Policy& policy() const { return setup_.policy; }
  [[nodiscard]] const std::string& message() const { return message_; }
  [[nodiscard]] const std::string& author() const { return author_; }
  void set_author(std::string author) { author_ = std::move(author); }
  [[nodiscard]] LockTable& locks() { return locks_; }
  [[nodiscard]] const FileTable& table() const { return table_; }
  [[nodiscard]] File* find(std::string_view path) const { return table_.find(path); }
  [[nodiscard]] const std::vector<Change>& changes() const { return changes_; }

  /// The absolute path of a file's working copy.
  [[nodiscard]] std::string working_path(std::string_view path) const {
    return places_.working(path);
  }

  /// Whether a folder of that path holds live files; "" is the root.
  [[nodiscard]] bool is_folder(std::string_view path) const;

  /// The live files and folders as a tree of copies.
  [[nodiscard]] std::unique_ptr<Directory> tree() const;

  // ---- Reading the tree ----

  using Progress = IngestProgress;

  /// Reads the tree and the mirror and makes them agree: what changed while nobody watched becomes
  /// a version or a tombstone. Once, before anything else.
  [[nodiscard]] Result<IngestReport> ingest(const Progress& progress = {});

  /// Looks at the whole tree and turns every difference into a version, a tombstone or a restore,
  /// by the outside author. True when something must be looked at again soon: a file that was still
  /// being written, or a version that could not be archived.
  bool reconcile();

  /// Writes down how the unchanged files and their mirror copies look, so that the next ingest()
  /// need not read those copies. Passes over the tree do it now and then.
  [[nodiscard]] Status save_stat_cache();

  /// The same for one file, known or not.
  bool reconcile_file(std::string_view path);

  /// In a store of single files: follows this one too, with what its mirror knows; or no longer.
  /// Its history stays.
  [[nodiscard]] Status follow_file(const std::string& path);
  void unfollow_file(const std::string& path);
  [[nodiscard]] const std::set<std::string>& followed() const { return rules_.followed(); }

  /// Takes other filters; the number of files that left version control by it. Files that are
  /// locked and left are told of in message().
  std::size_t change_policy(const Policy& policy);

  /// Whether a look at the tree goes into a folder; any thread.
  [[nodiscard]] bool enters(std::string_view folder) const { return rules_.enters(folder); }

  /// Whether version control sees the file.
  [[nodiscard]] bool admits(std::string_view path, std::uint64_t size) const {
    return rules_.admits(path, size);
  }

  // ---- Changing files; each is one version, by author() ----

  /// Saves the node's working bytes. A success that mints nothing is one too: equal bytes.
  bool check_in(iFileSystemObj* node, bool dirty);

  /// Saves the working bytes of a cache store's file: no version.
  bool promote(iFileSystemObj* node);

  /// The node of that path for new working bytes, made when missing.
  File& touch(std::string_view path) { return table_.add(path); }

  bool remove(iFileSystemObj* node);
  bool restore(iFileSystemObj* node);
  bool revert(iFileSystemObj* node, std::uint32_t version);
  /// Saves the source's bytes under `destination`.
  bool copy(iFileSystemObj* node, const std::string& destination);
  bool move(iFileSystemObj* node, const std::string& destination);

  // ---- A store without versions ----

  /// A file's bytes, from memory when the file on the disk still looks the same; noted as used at
  /// `now`, a number that only rises.
  [[nodiscard]] Result<Blob> read_cached(const std::string& path, std::uint32_t now);
  /// When each file in memory was last used.
  [[nodiscard]] std::vector<std::uint32_t> cached_uses() const;
  /// Drops the file that was last used then; its bytes.
  std::uint64_t drop_cached(std::uint32_t used);

  // ---- Locks ----

  /// Takes or frees the lock for author(); the answer is whether it is held now. Nothing when
  /// another author holds it.
  std::optional<bool> toggle_lock(const File& file);

  // ---- History beyond memory ----

  /// The bytes of a version, read from the archive when they are not in memory.
  [[nodiscard]] Result<Blob> version_bytes(const File& file, std::uint32_t version) const;

  /// The versions of a file that are older than those in memory, oldest first, read from the
  /// archive; `changes` are those of that file, in order.
  [[nodiscard]] Result<std::vector<VersionRecord>> older_versions(
      const File& file, const std::vector<Change>& changes) const;

  /// Every change ever made, oldest first; reads the journal.
  [[nodiscard]] Result<std::vector<Change>> all_changes() const;

  /// Those of one file that the mirror keeps.
  [[nodiscard]] Result<std::vector<Change>> changes_of(const File& file) const;

 private:
  class TreeScan;
  using Outcome = VersionWrite::Outcome;
  using Step = VersionWrite::Step;

  enum class Writes { kBoth, kMirror };
  struct Minting {
    Writes writes = Writes::kBoth;
    bool flush_later = false;
  };

  // What is read of the tree becomes the store's.
  [[nodiscard]] Result<IngestReport> read_in(const Progress& progress, const std::string& only);
  [[nodiscard]] Result<IngestReport> take_over(IngestedTree tree);
  struct Arrivals;
  void place(IngestedFile& read, bool is_fill, Arrivals& arrivals);
  void place_new(IngestedFile& read, File& file, bool is_fill, Arrivals& arrivals);
  [[nodiscard]] Status tell_journal(std::string_view lines);
  [[nodiscard]] Status end_fill(const std::string& lines);
  void settle(const std::vector<IngestedFile*>& changed);

  bool refuse(std::string reason);
  /// The answer of an operation that ended in `failure`, or did not fail.
  bool answer(const Outcome& failure);
  [[nodiscard]] bool may_write(const File& file, bool dirty);
  [[nodiscard]] File* writable_file(iFileSystemObj* node);
  bool absorb_external_change(File& file);

  /// Appends the working bytes as the next version and writes them; takes the record back when that
  /// fails.
  [[nodiscard]] Outcome mint(File& file, const Minting& minting);
  [[nodiscard]] Outcome write_version(File& file, const Minting& minting);
  [[nodiscard]] Outcome write_failed(File& file, VersionWrite::Failure failure);
  [[nodiscard]] Outcome append_tombstone(File& file, bool remove_working_file);
  [[nodiscard]] Outcome move_copy_to_tombstone(File& file, const VersionRecord& last,
                                               std::vector<platform::SyncTarget>& flushed);
  [[nodiscard]] Status announce_unmirrored(const File& file, const VersionRecord& last);
  void move_tombstone_back(File& file);
  bool carry_chain(const File& source, File& target);
  bool change_case(File& file, const std::string& name);
  using Archives = std::vector<std::pair<std::uint32_t, Blob>>;
  [[nodiscard]] Result<std::string> announce_chain(File& target,
                                                   const std::vector<VersionRecord>& chain,
                                                   Archives& archives);
  [[nodiscard]] std::string carry_archives(const File& target, const std::string& lines,
                                           const Archives& archives);
  [[nodiscard]] std::string carry_newest(const File& source, File& target);
  [[nodiscard]] Result<std::vector<VersionRecord>> whole_chain(const File& file) const;
  [[nodiscard]] Outcome restore_record(File& file, const VersionRecord& newest);
  [[nodiscard]] Outcome withdraw_tombstone(File& file);
  [[nodiscard]] Change change_of(const File& file, ChangeKind kind) const;
  void append_record(File& file, Blob bytes, bool tombstone);
  void take_back(File& file);
  [[nodiscard]] Status log(const Change& change);
  void look_at(File& file);

  bool scan_tree();
  void remember_when_due();

  enum class Haste { kWaits, kNow };  ///< for a file that may still be being written
  bool recheck(std::string_view path, bool flush_later, Haste haste);
  [[nodiscard]] bool may_be_in_a_save(const std::string& path, const platform::FileStatus& status);
  bool record_external_change(File& file, Blob bytes, const platform::FileStatus& status,
                              bool flush_later);
  bool record_external_delete(File& file);
  bool unreadable(const Error& error);
  bool external_change_failed(const File& file, const VersionWrite::Failure& failure);
  [[nodiscard]] bool may_try(const std::string& path) const;
  [[nodiscard]] Status flush_volume();
  void warn(const std::string& line) const;

  StoreSetup setup_;
  MirrorLayout layout_;
  StorePlaces places_;
  TreeRules rules_;
  std::mutex walking_;              ///< held for a whole pass; taken before mutex_
  platform::FolderMemory folders_;  ///< guarded by walking_
  mutable std::recursive_mutex mutex_;
  // All guarded by mutex_:
  std::string author_;
  std::string message_;
  FileTable table_;
  BlobPool pool_;
  LockTable locks_;
  Journal journal_;
  std::vector<Change> changes_;  ///< the latest since the store was loaded
  /// Outside changes that could not be archived, and when to try again.
  struct Retry {
    std::chrono::steady_clock::time_point next;
    std::chrono::seconds pause{1};
  };
  std::map<std::string, Retry, std::less<>> failing_;
  std::map<std::string, int> waited_;  ///< how often a file was left for the next look
  std::uint32_t pass_ = 0;
  std::uint64_t edits_ = 1;       ///< counts what may have changed how a file looks
  std::uint64_t remembered_ = 0;  ///< edits_ when the looks of all files were last written down
  std::chrono::steady_clock::time_point remember_next_;
};

}  // namespace mrb::vfs
