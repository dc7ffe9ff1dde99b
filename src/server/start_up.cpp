#include "server/start_up.h"

#include <array>

#include "platform/paths.h"
#include "server/page_path.h"

namespace mrb::server {
namespace {

using platform::JoinPath;

/// Counts over pieces of a file, so that a log of any length takes no memory.
class LineCounter {
 public:
  void add(std::string_view bytes) {
    for (const char c : bytes) {
      if (c == '\n') {
        end_line();
      } else {
        // A carriage return counts as text only when something other than the line's end follows.
        filled_ |= pending_return_ || c != '\r';
        pending_return_ = c == '\r';
      }
    }
  }

  std::uint64_t finish() {
    end_line();
    return lines_;
  }

 private:
  void end_line() {
    lines_ += filled_ ? 1 : 0;
    filled_ = false;
    pending_return_ = false;
  }

  std::uint64_t lines_ = 0;
  bool filled_ = false;
  bool pending_return_ = false;
};

}  // namespace

std::string ReadFirstPage(platform::FileSystem& files, const std::string& folder,
                          std::string_view name) {
  for (const char* place : {"src", "", "web"}) {
    const std::string path = JoinPath(*place == '\0' ? folder : JoinPath(folder, place), name);
    if (auto page = ReadPage(files, path); page && !page->empty()) return std::move(*page);
  }
  return {};
}

CachedPages LoadCachedPages(platform::FileSystem& files, const std::string& executable_folder) {
  return {ReadFirstPage(files, executable_folder, "index.html"),
          ReadFirstPage(files, executable_folder, "mirebolt_panel.html")};
}

void MakeStartUpFolders(platform::FileSystem& files, const std::string& install_home) {
  for (const char* name : {"chatlogs", "bots"}) {
    (void)platform::MakeDirectories(files, JoinPath(install_home, name));
  }
}

std::uint64_t CountDirectMessages(platform::FileSystem& files, const std::string& install_home) {
  const auto log = files.open(JoinPath(JoinPath(install_home, "chatlogs"), "_dm.log"),
                              platform::FileSystem::OpenMode::kRead);
  if (!log) return 0;
  LineCounter counter;
  std::uint64_t at = 0;
  std::array<char, 65536> piece{};
  for (;;) {
    const auto read = (*log)->read_at(at, piece.data(), piece.size());
    if (!read || *read == 0) return counter.finish();
    counter.add({piece.data(), *read});
    at += *read;
  }
}

}  // namespace mrb::server
