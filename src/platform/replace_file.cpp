#include "platform/replace_file.h"

#include "platform/paths.h"

namespace mrb::platform {
namespace {

Status WriteAndFlush(FileSystem& files, const std::string& path,
                     std::span<const std::string_view> pieces) {
  auto file = files.open(path, FileSystem::OpenMode::kReplace);
  if (!file) return std::unexpected(file.error());
  for (const std::string_view piece : pieces) {
    if (Status written = (*file)->append(piece); !written) return written;
  }
  return (*file)->sync();
}

}  // namespace

Status ReplaceFile(FileSystem& files, const std::string& path,
                   std::span<const std::string_view> pieces) {
  const std::string temporary = path + ".tmp";
  Status done = WriteAndFlush(files, temporary, pieces);
  if (done) done = files.rename_replace(temporary, path);
  if (!done) {
    // The reason to report is the first one; a temporary that stays is written over next time.
    static_cast<void>(files.remove_file(temporary));
    return done;
  }
  return files.sync_directory(ParentPath(path));
}

Status ReplaceFile(FileSystem& files, const std::string& path, std::string_view contents) {
  return ReplaceFile(files, path, std::span(&contents, 1));
}

}  // namespace mrb::platform
