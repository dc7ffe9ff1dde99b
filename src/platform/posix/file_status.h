#pragma once

#include <sys/stat.h>

#include "platform/files.h"

namespace mrb::platform {

[[nodiscard]] inline FileStatus::Type TypeOf(mode_t mode) {
  if (S_ISREG(mode)) return FileStatus::Type::kFile;
  return S_ISDIR(mode) ? FileStatus::Type::kDirectory : FileStatus::Type::kOther;
}

[[nodiscard]] inline std::int64_t Nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

[[nodiscard]] inline FileStatus StatusOf(const struct stat& info) {
  FileStatus status;
  status.type = TypeOf(info.st_mode);
  if (status.type != FileStatus::Type::kDirectory) {
    status.size = static_cast<std::uint64_t>(info.st_size);
  }
  status.modified_ns = Nanoseconds(info.st_mtim);
  status.changed_ns = Nanoseconds(info.st_ctim);
  status.file_id = info.st_ino;
  return status;
}

}  // namespace mrb::platform
