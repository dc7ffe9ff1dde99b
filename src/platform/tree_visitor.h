#pragma once

#include <string_view>

#include "platform/files.h"
#include "platform/folder_memory.h"

namespace mrb::platform {

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
