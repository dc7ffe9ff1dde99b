#include "memory/record/store_file.h"

#include "memory/record/store_format.h"
#include "platform/files.h"
#include "platform/paths.h"

namespace mrb::memory {

using platform::FileSystem;
using platform::JoinPath;

StoreFile::StoreFile(FileSystem& files, std::string folder)
    : files_(files), folder_(std::move(folder)) {}

std::string StoreFile::path() const {
  return JoinPath(folder_, kStoreFileName);
}

void StoreFile::loaded(std::uint64_t size, std::uint64_t good) {
  size_ = size;
  good_ = good;
}

std::uint64_t StoreFile::size_on_disk() const {
  const auto status = files_.status(path());
  return status ? status->size : 0;
}

Status StoreFile::check_unchanged(std::uint64_t size) const {
  if (size_ ? size == *size_ : size >= good_) {
    return {};
  }
  if (size == 0) return Fail(ErrorKind::kNotFound, path() + " is gone");
  return Fail(ErrorKind::kCorrupt, path() + " was changed by someone else (" +
                                       std::to_string(size) + " bytes, " +
                                       std::to_string(size_.value_or(good_)) + " expected)");
}

void StoreFile::cut_back(platform::OpenFile& file, const Error& reason) {
  if (file.truncate(good_) && file.sync()) {
    size_ = good_;
    first_failure_.reset();
    return;
  }
  size_.reset();
  if (!first_failure_) first_failure_ = reason;
}

Status StoreFile::write_tail(platform::OpenFile& file, std::string_view bytes) {
  if (good_ == 0) {
    if (const Status magic = file.append(kMagic); !magic) return magic;
  }
  if (const Status written = file.append(bytes); !written) return written;
  if (const Status flushed = file.sync(); !flushed) return flushed;
  return good_ == 0 ? files_.sync_directory(folder_) : Status();
}

Status StoreFile::append(std::string_view bytes) {
  // A file that had a good part must still be there; a new one is made by the first append.
  auto file = files_.open(
      path(), good_ == 0 ? FileSystem::OpenMode::kAppendNew : FileSystem::OpenMode::kAppend);
  if (!file) return std::unexpected(file.error());
  const auto size = (*file)->size();
  if (!size) return std::unexpected(size.error());
  if (const Status same = check_unchanged(*size); !same) return same;
  if (*size > good_) {
    const Error failure =
        first_failure_.value_or(Error{ErrorKind::kIo, "cannot cut back " + path()});
    cut_back(**file, failure);
    if (!size_) return std::unexpected(failure);
  }
  if (const Status written = write_tail(**file, bytes); !written) {
    cut_back(**file, written.error());
    return written;
  }
  good_ += (good_ == 0 ? kMagic.size() : 0) + bytes.size();
  size_ = good_;
  return {};
}

Status StoreFile::replace(std::span<const std::string_view> heap_pieces) {
  if (const Status same = check_unchanged(size_on_disk()); !same) return same;
  std::vector<std::string_view> pieces = {kMagic};
  pieces.insert(pieces.end(), heap_pieces.begin(), heap_pieces.end());
  if (const Status replaced = platform::ReplaceFile(files_, path(), pieces); !replaced) {
    return replaced;
  }
  good_ = 0;
  for (const std::string_view piece : pieces) {
    good_ += piece.size();
  }
  size_ = good_;
  first_failure_.reset();
  return {};
}

Result<std::string> StoreFile::read_start(std::size_t bytes) const {
  const auto file = files_.open(path(), FileSystem::OpenMode::kRead);
  if (!file) return std::unexpected(file.error());
  std::string start(bytes, '\0');
  const auto got = (*file)->read_at(0, start.data(), start.size());
  if (!got) return std::unexpected(got.error());
  start.resize(*got);
  return start;
}

Result<std::string> StoreFile::read_from(std::uint64_t offset) const {
  const auto file = files_.open(path(), FileSystem::OpenMode::kRead);
  if (!file) return std::unexpected(file.error());
  const auto size = (*file)->size();
  if (!size) return std::unexpected(size.error());
  std::string bytes(*size > offset ? *size - offset : 0, '\0');
  const auto got = (*file)->read_at(offset, bytes.data(), bytes.size());
  if (!got) return std::unexpected(got.error());
  bytes.resize(*got);
  return bytes;
}

Status StoreFile::keep_previous(std::string_view heap) {
  const std::string_view pieces[] = {kMagic, heap};
  return platform::ReplaceFile(files_, JoinPath(folder_, kPreviousStoreFileName), pieces);
}

}  // namespace mrb::memory
