#include "server/routes/page_cache.h"

#include "platform/paths.h"
#include "server/routes/page_path.h"

namespace mrb::server {
namespace {

using platform::JoinPath;

}  // namespace

std::string ReadFirstPage(platform::FileSystem& files, const std::string& folder,
                          std::string_view name) {
  for (const char* place : {"src", "", "web"}) {
    const std::string path = JoinPath(*place == '\0' ? folder : JoinPath(folder, place), name);
    if (auto page = ReadPage(files, path); page && !page->empty()) return std::move(*page);
  }
  return {};
}

PageCache LoadPageCache(platform::FileSystem& files, const std::string& executable_folder) {
  return {ReadFirstPage(files, executable_folder, "index.html"),
          ReadFirstPage(files, executable_folder, "mirebolt_panel.html")};
}

void MakeStartUpFolders(platform::FileSystem& files, const std::string& install_home) {
  for (const char* name : {"chatlogs", "bots"}) {
    (void)platform::MakeDirectories(files, JoinPath(install_home, name));
  }
}

}  // namespace mrb::server
