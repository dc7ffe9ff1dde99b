#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "common/error.h"

namespace mrb::platform {

/// A file of a fixed size whose bytes are this process's memory: what is written there is in the
/// file at once for whoever reads it, also when this process is killed (not when the machine is).
/// All of it is on the disk's account from the beginning, so that no write can fail for want of
/// room. The bytes may be used by several threads; the object itself is not thread-safe.
class MappedFile {
 public:
  MappedFile(MappedFile&&) noexcept;
  MappedFile& operator=(MappedFile&&) noexcept;
  ~MappedFile();

  /// Makes the file, for its user alone, when it is missing; one of another size is made anew, and
  /// new bytes are zero. A link or anything else that is no plain file is kInvalidArgument.
  [[nodiscard]] static Result<MappedFile> open(const std::string& path, std::size_t size);

  [[nodiscard]] std::span<std::byte> bytes() const;

 private:
  struct Handle;
  explicit MappedFile(std::unique_ptr<Handle> handle);
  std::unique_ptr<Handle> handle_;
};

}  // namespace mrb::platform
