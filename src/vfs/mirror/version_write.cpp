#include "vfs/mirror/version_write.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/paths.h"
#include "platform/sync_all.h"

namespace mrb::vfs {
namespace {

using platform::FileSystem;
using platform::ParentPath;

using Step = VersionWrite::Step;

VersionWrite::Outcome Failed(Step step, std::string reason) {
  return VersionWrite::Failure{std::move(reason), step, step != Step::kWorkingFile};
}

void AddOnce(std::vector<std::string>& folders, std::string folder) {
  if (std::ranges::find(folders, folder) == folders.end()) folders.push_back(std::move(folder));
}

}  // namespace

std::string StorePlaces::working(std::string_view path) const {
  const bool ends_in_separator =
      !disk_root.empty() && (disk_root.back() == '/' || disk_root.back() == '\\');
  const std::string native = platform::NativePath(path);
  return ends_in_separator ? disk_root + native : platform::JoinPath(disk_root, native);
}

std::string StorePlaces::mirror_copy(std::string_view path) const {
  std::string copy = mirror->copy(path);
  const auto status = files->status(copy);
  if (!status || status->type != platform::FileStatus::Type::kDirectory) return copy;
  return mirror->copy_beside_folder(path);
}

Result<bool> IsThere(FileSystem& files, const std::string& path) {
  const auto status = files.status(path);
  if (status) return true;
  if (status.error().kind == ErrorKind::kNotFound) return false;
  return std::unexpected(status.error());
}

Result<std::uint32_t> FreeArchive(const StorePlaces& places, std::string_view path,
                                  std::uint32_t number) {
  for (;; ++number) {
    const auto taken = IsThere(*places.files, places.mirror->archive(path, number));
    if (!taken) return std::unexpected(taken.error());
    if (!*taken) return number;
  }
}

Status WriteArchive(const StorePlaces& places, std::string_view path, std::uint32_t number,
                    std::string_view bytes, bool flushes) {
  FileSystem& files = *places.files;
  const std::string folder = places.mirror->archive_folder(path);
  if (const Status made = files.make_directory(folder);
      !made && made.error().kind != ErrorKind::kAlreadyExists) {
    return Fail(ErrorKind::kUnavailable, made.error().text);
  }
  const std::string archive = places.mirror->archive(path, number);
  const std::string temporary = archive + ".tmp$";
  const auto write = [&]() -> Status {
    auto file = files.open(temporary, FileSystem::OpenMode::kReplace);
    if (!file) return std::unexpected(file.error());
    if (Status written = (*file)->append(bytes); !written) return written;
    return flushes ? (*file)->sync() : Status();
  };
  Status written = write();
  if (written) written = files.rename_new(temporary, archive);
  if (!written) {
    static_cast<void>(files.remove_file(temporary));
    return written;
  }
  return flushes ? files.sync_directory(folder) : Status();
}

Status MoveToCopy(FileSystem& files, const std::string& from, const std::string& copy) {
  Status moved = files.rename_replace(from, copy);
  if (moved || moved.error().kind != ErrorKind::kNotFound) return moved;
  if (!files.make_directory(ParentPath(copy))) return moved;
  return files.rename_replace(from, copy);
}

Status MakeFoldersInside(FileSystem& files, const std::string& root, std::string_view path,
                         FolderAccess access, bool flushes) {
  for (std::size_t slash = path.find('/'); slash != std::string_view::npos;
       slash = path.find('/', slash + 1)) {
    const std::string folder =
        platform::JoinPath(root, platform::NativePath(path.substr(0, slash)));
    const auto status = files.status(folder);
    if (status && status->type == platform::FileStatus::Type::kDirectory) continue;
    if (status) return Fail(ErrorKind::kInvalidArgument, folder + " is not a folder");
    if (status.error().kind != ErrorKind::kNotFound) return std::unexpected(status.error());
    const Status made = access == FolderAccess::kShared ? files.make_shared_directory(folder)
                                                        : files.make_directory(folder);
    if (!made && made.error().kind != ErrorKind::kAlreadyExists) return made;
    if (!flushes) continue;
    if (Status synced = files.sync_directory(ParentPath(folder)); !synced) return synced;
  }
  return {};
}

VersionWrite::VersionWrite(const StorePlaces& places, std::string path, std::string_view bytes)
    : places_(places),
      path_(std::move(path)),
      bytes_(bytes),
      target_(places.working(path_)),
      temporary_(TemporaryBeside(target_)),
      mirrors_(places.mirrors(path_)),
      copy_(mirrors_ ? places.mirror_copy(path_) : std::string()) {}

VersionWrite::~VersionWrite() {
  // Nothing to tell if it fails: a leftover is passed over by name and written over next time.
  if (working_staged_) static_cast<void>(places_.files->remove_file(temporary_));
  if (mirror_staged_)
    static_cast<void>(places_.files->remove_file(places_.mirror->temporary(path_)));
}

Result<VersionWrite::Opened> VersionWrite::write(const std::string& path, std::string_view bytes,
                                                 FileSystem::OpenMode mode) const {
  auto file = places_.files->open(path, mode);
  if (!file) return file;
  if (Status written = (*file)->append(bytes); !written) {
    file->reset();
    static_cast<void>(places_.files->remove_file(path));
    return std::unexpected(written.error());
  }
  return file;
}

VersionWrite::Outcome VersionWrite::stage_working(Opened& file) {
  // Also when all folders are there: a link among them is found here.
  if (const Status made = MakeFoldersInside(*places_.files, places_.disk_root, path_,
                                            FolderAccess::kShared, flushes_);
      !made) {
    return Failed(Step::kWorkingFile, "mkdirs failed: " + made.error().text);
  }
  auto opened = write(temporary_, bytes_, FileSystem::OpenMode::kReplaceShared);
  if (!opened) return Failed(Step::kWorkingFile, "temp write failed");
  working_staged_ = true;
  file = *std::move(opened);
  const Status permitted = places_.files->copy_permissions(target_, temporary_);
  if (!permitted && permitted.error().kind != ErrorKind::kNotFound) {
    return Failed(Step::kWorkingFile, "temp write failed");
  }
  return {};
}

VersionWrite::Outcome VersionWrite::stage_mirror(Opened& file) {
  const std::string temporary = places_.mirror->temporary(path_);
  auto opened = write(temporary, bytes_, FileSystem::OpenMode::kReplace);
  if (!opened && opened.error().kind == ErrorKind::kNotFound) {
    if (const Status made = make_mirror_folders(); !made) {
      return Failed(Step::kMirror, "vc mkdirs failed: " + made.error().text);
    }
    opened = write(temporary, bytes_, FileSystem::OpenMode::kReplace);
  }
  if (!opened) return Failed(Step::kMirror, "vc temp write failed");
  mirror_staged_ = true;
  file = *std::move(opened);
  return {};
}

Status VersionWrite::make_mirror_folders() {
  const std::string& root = places_.mirror->root();
  if (Status made = platform::MakeDirectories(*places_.files, root); !made) return made;
  return MakeFoldersInside(*places_.files, root, path_, FolderAccess::kPrivate, flushes_);
}

VersionWrite::Outcome VersionWrite::write_temporaries() {
  Opened working;
  Opened mirror;
  if (works_) {
    if (auto failure = stage_working(working)) return failure;
  }
  if (mirrors_) mirror_failure_ = stage_mirror(mirror);
  if (!flushes_) return {};
  std::vector<platform::SyncTarget> targets;
  if (working) targets.emplace_back(working.get());
  if (mirror) targets.emplace_back(mirror.get());
  const auto flushed = platform::SyncEach(*places_.files, targets);
  if (working && !flushed.front()) return Failed(Step::kWorkingFile, "temp write failed");
  if (mirror && !flushed.back()) mirror_failure_ = Failed(Step::kMirror, "vc temp write failed");
  return {};
}

VersionWrite::Outcome VersionWrite::commit_working() {
  if (works_) {
    if (!places_.files->rename_replace(temporary_, target_))
      return Failed(Step::kWorkingFile, "promote failed");
    working_staged_ = false;
    AddOnce(folders_, ParentPath(target_));
  }
  return std::exchange(mirror_failure_, std::nullopt);
}

VersionWrite::Outcome VersionWrite::reserve_archive(std::uint32_t next_archive, bool has_seed) {
  if (!mirrors_) return {};
  const auto has_copy = IsThere(*places_.files, copy_);
  if (!has_copy) return Failed(Step::kArchive, "vc archive move failed");
  has_copy_ = *has_copy;
  if (!has_copy_ && !has_seed) return {};
  const auto number = FreeArchive(places_, path_, next_archive);
  if (!number) return Failed(Step::kArchive, "vc archive move failed");
  archived_ = *number;
  return {};
}

VersionWrite::Outcome VersionWrite::archive_original(std::string_view bytes) {
  if (!mirrors_ || has_copy_) return {};
  if (!make_mirror_folders()) return Failed(Step::kArchive, "vc seed-archive mkdir failed");
  const Status written = WriteArchive(places_, path_, archived_, bytes, flushes_);
  if (written) return {};
  const bool no_folder = written.error().kind == ErrorKind::kUnavailable;
  return Failed(Step::kArchive,
                no_folder ? "vc seed-archive mkdir failed" : "vc seed-archive write failed");
}

VersionWrite::Outcome VersionWrite::commit_mirror() {
  if (!mirrors_) return {};
  if (archived_ != 0 && has_copy_) {
    if (auto failure = archive_copy()) return failure;
  }
  if (!MoveToCopy(*places_.files, places_.mirror->temporary(path_), copy_)) {
    undo_mirror();
    return Failed(Step::kMirror, "vc promote failed");
  }
  mirror_staged_ = false;
  AddOnce(folders_, ParentPath(copy_));
  return {};
}

VersionWrite::Outcome VersionWrite::archive_copy() {
  FileSystem& files = *places_.files;
  const std::string folder = places_.mirror->archive_folder(path_);
  if (Status made = files.make_directory(folder)) {
    AddOnce(folders_, ParentPath(folder));
  } else if (made.error().kind != ErrorKind::kAlreadyExists) {
    return Failed(Step::kArchive, "vc archive mkdir failed");
  }
  const Status moved = files.rename_new(copy_, places_.mirror->archive(path_, archived_));
  if (!moved) return Failed(Step::kArchive, "vc archive move failed");
  AddOnce(folders_, folder);
  return {};
}

void VersionWrite::undo_mirror() {
  if (!mirrors_) return;
  // A seed stays in the archive: its bytes are in no other file of the mirror.
  if (has_copy_ && archived_ != 0) {
    static_cast<void>(
        places_.files->rename_replace(places_.mirror->archive(path_, archived_), copy_));
  } else {
    static_cast<void>(places_.files->remove_file(copy_));
  }
}

VersionWrite::Outcome VersionWrite::sync(Journal* journal) {
  if (!flushes_) return {};
  std::vector<platform::SyncTarget> targets(folders_.begin(), folders_.end());
  if (journal != nullptr && journal->file() != nullptr) targets.emplace_back(journal->file());
  const auto flushed = platform::SyncEach(*places_.files, targets);
  const auto failed = std::ranges::find_if(flushed, [](const Status& status) { return !status; });
  if (failed == flushed.end()) return {};
  const bool of_working_folder = works_ && failed == flushed.begin();
  return of_working_folder ? Failed(Step::kWorkingFile, "promote failed")
                           : Failed(Step::kMirror, "vc promote failed");
}

}  // namespace mrb::vfs
