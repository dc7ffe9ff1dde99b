#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "common/error.h"

namespace mrb::platform {

/// A file that one process at a time holds: an exclusive lock that ends with the object, and with
/// the process however that dies. The file itself stays (removing it would let two processes lock
/// two different files of one name). Held by a process, not a thread: do not take one twice.
class FileLock {
 public:
  FileLock(FileLock&&) noexcept;
  FileLock& operator=(FileLock&&) noexcept;
  ~FileLock();

  /// Makes the file when it is missing. kBusy when another holder has it; never waits.
  [[nodiscard]] static Result<FileLock> try_acquire(const std::string& path);

  /// Replaces the file's text, for whoever wants to know the holder (a process number, say).
  [[nodiscard]] Status write_note(std::string_view text);

  /// What the present holder wrote; empty when nothing can be read.
  [[nodiscard]] static std::string read_note(const std::string& path);

 private:
  struct Handle;
  explicit FileLock(std::unique_ptr<Handle> handle);
  std::unique_ptr<Handle> handle_;
};

/// The machine-wide mark "the resident of this port". Kept until the object or the process ends.
class SingleInstance {
 public:
  SingleInstance(SingleInstance&&) noexcept;
  SingleInstance& operator=(SingleInstance&&) noexcept;
  ~SingleInstance();

  /// held() tells whether this process has the mark now. When the system cannot even make one, it
  /// counts as held: a machine without locks still gets a resident.
  [[nodiscard]] static SingleInstance acquire(std::int32_t port);

  [[nodiscard]] bool held() const { return held_; }

 private:
  struct Handle;
  SingleInstance(std::unique_ptr<Handle> handle, bool held);
  std::unique_ptr<Handle> handle_;
  bool held_ = false;
};

}  // namespace mrb::platform
