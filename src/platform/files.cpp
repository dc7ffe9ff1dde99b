#include "platform/files.h"

#include <exception>

#include "platform/paths.h"

namespace mrb::platform {

namespace {

/// Reads until the file ends, which may be behind the size it had when it was opened.
Result<std::string> ReadToEnd(OpenFile& file, std::uint64_t expected) {
  std::string bytes;
  std::size_t have = 0;
  for (;;) {
    // One byte more than expected, so that the common case learns of the end in a single read.
    bytes.resize(have == 0 ? static_cast<std::size_t>(expected) + 1 : have * 2);
    const auto got = file.read_at(have, bytes.data() + have, bytes.size() - have);
    if (!got) return std::unexpected(got.error());
    have += *got;
    if (have < bytes.size()) break;
  }
  bytes.resize(have);
  return bytes;
}

/// Makes `path`; true when it is there afterwards, false when the folder above it is missing.
Result<bool> MakeOne(FileSystem& files, const std::string& path) {
  const Status made = files.make_directory(path);
  if (made) {
    // Or the new folder could vanish in a crash with all that was flushed inside it.
    if (const Status synced = files.sync_directory(ParentPath(path)); !synced) {
      return std::unexpected(synced.error());
    }
    return true;
  }
  if (made.error().kind == ErrorKind::kNotFound) return false;
  if (made.error().kind != ErrorKind::kAlreadyExists) return std::unexpected(made.error());
  const auto there = files.status(path);
  // A link to a folder is as good as a folder; status() does not say where it leads.
  if (there && there->type != FileStatus::Type::kFile) return true;
  return std::unexpected(there ? made.error() : there.error());
}

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

Result<std::string> ReadFile(FileSystem& files, const std::string& path) {
  const auto file = files.open(path, FileSystem::OpenMode::kRead);
  if (!file) return std::unexpected(file.error());
  const auto size = (*file)->size();
  if (!size) return std::unexpected(size.error());
  try {
    return ReadToEnd(**file, *size);
  } catch (const std::exception&) {  // a size that no string can have, or no memory for it
    return Fail(ErrorKind::kNoSpace, "cannot read " + path + ": not enough memory");
  }
}

Status MakeDirectories(FileSystem& files, const std::string& path) {
  std::vector<std::string> missing;
  for (std::string folder = path;;) {
    const auto made = MakeOne(files, folder);
    if (!made) return std::unexpected(made.error());
    if (*made) break;
    missing.push_back(folder);
    folder = ParentPath(folder);
    if (folder == missing.back()) break;  // the root itself is missing; the way down will say so
  }
  for (auto folder = missing.rbegin(); folder != missing.rend(); ++folder) {
    const auto made = MakeOne(files, *folder);
    if (!made) return std::unexpected(made.error());
    if (!*made)
      return Fail(ErrorKind::kNotFound, "cannot make folder " + *folder + ": no such path");
  }
  return {};
}

bool Exists(FileSystem& files, const std::string& path) {
  return files.status(path).has_value();
}

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
