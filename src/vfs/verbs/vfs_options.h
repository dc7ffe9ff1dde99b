#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/caller_folder.h"
#include "common/command_register.h"
#include "platform/files.h"
#include "platform/system_info.h"
#include "vfs/store/cache_keeper.h"
#include "vfs/store/version_store.h"

namespace mrb::vfs {

/// Who calls, and from where.
struct VfsCall {
  std::string author;        ///< stamped on what is written, and the holder of locks
  CallerFolder folder = {};  ///< where relative paths are seen from
  /// Takes the entries of listings, gives queries their $1, $2, …; null: there is none.
  std::shared_ptr<CommandRegister> registers = nullptr;
};

struct VfsOptions {
  platform::FileSystem* files = nullptr;
  std::string data_home;
  std::string executable_folder;
  std::vector<std::string> settings_files;  ///< the first that is there holds
  std::string user_profile;  ///< where tools keep their folders for the user; empty: none is sought
  std::function<std::string()> outside_author;  ///< who saves what is not saved through us
  std::function<void(std::string_view)> print;  ///< text for the user at start, and warnings
  ChangeObserver changed;                       ///< may be empty
  bool print_is_console = false;                ///< progress may rewrite its line
  std::function<platform::SystemMemory()> memory = &platform::ReadSystemMemory;
  CacheKeeper::Limits cache;
};

}  // namespace mrb::vfs
