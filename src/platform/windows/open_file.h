#pragma once

#include <string>

#include "platform/files.h"
#include "platform/windows/handle.h"

namespace mrb::platform {

/// An OpenFile over a file handle. Every read and write names its place, so nothing depends on the
/// handle's own position and several threads may read at once.
class WindowsFile : public OpenFile {
 public:
  WindowsFile(Handle file, std::string path) : file_(std::move(file)), path_(std::move(path)) {}

  Result<std::uint64_t> size() override;
  Result<std::size_t> read_at(std::uint64_t offset, char* out, std::size_t bytes) override;
  Status append(std::string_view bytes) override;
  Status truncate(std::uint64_t size) override;
  Status sync() override;

 private:
  Handle file_;
  std::string path_;  // for error texts
};

}  // namespace mrb::platform
