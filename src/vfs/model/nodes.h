#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "vfs/model/version_record.h"

namespace mrb {

/// A node of a versioned tree. Plain data: whoever owns the tree guards it.
class iFileSystemObj {
 public:
  enum Kind : std::uint64_t { kFile = 0, kDirectory = 1 };

  iFileSystemObj(Kind node_kind, std::string node_name)
      : kind(node_kind), name(std::move(node_name)) {}
  iFileSystemObj(const iFileSystemObj&) = delete;
  iFileSystemObj& operator=(const iFileSystemObj&) = delete;
  virtual ~iFileSystemObj() = default;

  /// A deep copy. Contents stay shared: they never change.
  [[nodiscard]] virtual std::unique_ptr<iFileSystemObj> clone() const = 0;

  /// A file's current version; the largest one below a directory, 0 when there is none.
  [[nodiscard]] virtual std::uint32_t latestVersion() const = 0;

  /// What differs between this node and another, as text in a frame.
  [[nodiscard]] virtual std::string diffAgainst(const iFileSystemObj& other) const = 0;

  /// Copies what the name stands for on the disk, by the system's own command; its exit status.
  [[nodiscard]] virtual int copyTo(const std::string& destination) const = 0;

  /// Removes what the name stands for from the disk, by the system's own command; its exit status.
  [[nodiscard]] virtual int removeFrom() const = 0;

  /// The node and everything below it as bytes; see docs/versioned-files.md.
  [[nodiscard]] virtual std::string writeImage() const = 0;

  std::uint64_t kind;
  std::string name;  ///< a file's path below its store's root, with "/"; a directory's name
};

/// A file with every version of it.
class File : public iFileSystemObj {
 public:
  explicit File(std::string path) : iFileSystemObj(kFile, std::move(path)) {}

  [[nodiscard]] std::unique_ptr<iFileSystemObj> clone() const override;
  [[nodiscard]] std::uint32_t latestVersion() const override { return version; }
  [[nodiscard]] std::string diffAgainst(const iFileSystemObj& other) const override;
  [[nodiscard]] int copyTo(const std::string& destination) const override;
  [[nodiscard]] int removeFrom() const override;
  [[nodiscard]] std::string writeImage() const override;

  /// Whether the newest record is a delete, or there is none.
  [[nodiscard]] bool is_gone() const { return history.empty() || history.back().tombstone; }

  /// The newest record that holds contents; null when there is none.
  [[nodiscard]] const VersionRecord* newest_content() const;

  [[nodiscard]] const VersionRecord* find_version(std::uint32_t wanted) const;

  /// Makes the fields of the current version those of the newest record, or of none.
  void follow_history();

  /// How the working file looked on the disk when its bytes were last read or written: a file that
  /// still looks so need not be read again. Of a deleted file: nothing. First, with what else a
  /// look at the tree needs, so that it touches little memory.
  platform::FileStatus seen;
  std::uint32_t pass =
      0;  ///< the last look at the tree that found the file; of a cached one: its use
  File* after = nullptr;  ///< what a look at the tree last found next; of the same table

  std::uint32_t version = 0;           ///< of the newest record; 0 while there is none
  AuthorName author;                   ///< of the current version
  VersionStamp stamp;                  ///< of the current version
  vfs::Blob content;                   ///< the working bytes
  std::vector<VersionRecord> history;  ///< oldest first
  std::uint32_t next_archive = 1;      ///< no archive file has this number or a higher one
  std::uint32_t tombstone_version =
      0;  ///< the version that the mirror's tombstone file holds; 0: none
};

/// A folder of nodes, for listings and comparisons.
class Directory : public iFileSystemObj {
 public:
  explicit Directory(std::string folder) : iFileSystemObj(kDirectory, std::move(folder)) {}

  [[nodiscard]] std::unique_ptr<iFileSystemObj> clone() const override;
  [[nodiscard]] std::uint32_t latestVersion() const override;
  [[nodiscard]] std::string diffAgainst(const iFileSystemObj& other) const override;
  [[nodiscard]] int copyTo(const std::string& destination) const override;
  [[nodiscard]] int removeFrom() const override;
  [[nodiscard]] std::string writeImage() const override;

  std::vector<std::unique_ptr<iFileSystemObj>> children;
};

}  // namespace mrb
