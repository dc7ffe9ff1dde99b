#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/files.h"

namespace mrb::platform {

/// What is in each folder of one tree, kept from one walk to the next: a folder that is unchanged
/// by the system's word is not listed again, which is a third of a walk's time. About 20 bytes a
/// name. Filled and read by FileSystem::walk(), where the system's word can be relied on; one walk
/// at a time.
class FolderMemory {
 public:
  /// The entries of a folder, as long as its state is the one given.
  struct Listing {
    std::uint64_t folder_id = 0;
    std::int64_t changed_ns = 0;
    std::uint64_t walk = 0;  // the last that saw the folder
    std::string names;       // a byte for the type, the name, a zero byte; and again
  };

  /// A folder that changed less than `racy_ns` before it was listed is not remembered: it may
  /// change again without a later time, because clocks of file systems tick as slowly as once in
  /// two seconds.
  explicit FolderMemory(std::int64_t racy_ns = 3'000'000'000) : racy_ns_(racy_ns) {}

  [[nodiscard]] std::int64_t racy_ns() const { return racy_ns_; }

  void begin_walk() {
    ++walk_;
    seen_ = 0;
  }

  /// The listing of a folder, an empty one for one that is new; valid until end_walk().
  [[nodiscard]] Listing& of(const std::string& path) {
    Listing& listing = listings_[path];
    if (listing.walk != walk_) ++seen_;
    listing.walk = walk_;
    return listing;
  }

  /// Forgets folders that the walk did not see, once they are many.
  void end_walk() {
    if (listings_.size() <= 2 * seen_) return;
    std::erase_if(listings_, [this](const auto& entry) { return entry.second.walk != walk_; });
  }

 private:
  std::int64_t racy_ns_;
  std::unordered_map<std::string, Listing> listings_;
  std::uint64_t walk_ = 0;
  std::size_t seen_ = 0;  // folders in this walk
};

/// What FileSystem::walk() tells of a tree. Paths are relative to the root and separated by "/" on
/// every system; their bytes are the system's own (on Linux not always valid UTF-8). A view ends
/// with its call.
class TreeVisitor {
 public:
  enum class Skipped {
    kLink,        ///< a symbolic link or a junction; never followed
    kSpecial,     ///< a device, pipe or socket
    kUnreadable,  ///< the system refused to list the folder or to examine the file
  };

  TreeVisitor() = default;
  TreeVisitor(const TreeVisitor&) = delete;
  TreeVisitor& operator=(const TreeVisitor&) = delete;
  virtual ~TreeVisitor() = default;

  /// Asked for each folder below the root before it is read; false leaves out all that is in it.
  [[nodiscard]] virtual bool enter(std::string_view folder) = 0;

  virtual void file(std::string_view path, const FileStatus& status) = 0;

  virtual void skipped(std::string_view path, Skipped why) = 0;

  /// Without: the walk is for folders only, and asks the system for no file's status where it can
  /// tell a file without.
  [[nodiscard]] virtual bool wants_files() const { return true; }

  /// What walks of this tree remember from one to the next; null: nothing.
  [[nodiscard]] virtual FolderMemory* memory() { return nullptr; }
};

}  // namespace mrb::platform
