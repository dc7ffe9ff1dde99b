#pragma once

#include <string>

#include "platform/files.h"
#include "platform/posix/descriptor.h"

namespace mrb::platform {

/// An OpenFile over a descriptor that was opened with O_APPEND, or for reading only.
class PosixFile : public OpenFile {
 public:
  PosixFile(Descriptor fd, std::string path) : fd_(std::move(fd)), path_(std::move(path)) {}

  Result<std::uint64_t> size() override;
  Result<std::size_t> read_at(std::uint64_t offset, char* out, std::size_t bytes) override;
  Status append(std::string_view bytes) override;
  Status truncate(std::uint64_t size) override;
  Status sync() override;

 private:
  Descriptor fd_;
  std::string path_;  // for error texts
};

}  // namespace mrb::platform
