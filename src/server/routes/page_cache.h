#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace mrb::server {

/// What the server reads once, before it listens.

/// The fallbacks for pages that are gone from the disk by the time they are asked for. Empty: none.
struct PageCache {
  std::string index;
  std::string panel;
};
[[nodiscard]] PageCache LoadPageCache(platform::FileSystem& files,
                                      const std::string& executable_folder);

/// The three places of a page: src, the folder itself, web.
[[nodiscard]] std::string ReadFirstPage(platform::FileSystem& files, const std::string& folder,
                                        std::string_view name);

/// Makes the install home with its chatlogs and bots. What cannot be made is left out: who needs it
/// says so when it writes.
void MakeStartUpFolders(platform::FileSystem& files, const std::string& install_home);

}  // namespace mrb::server
