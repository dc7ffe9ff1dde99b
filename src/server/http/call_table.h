#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "common/error.h"
#include "platform/files.h"
#include "platform/mapped_file.h"

namespace mrb::server {

/// Which calls a resident has begun, in a file that outlives it: a client whose connection ended
/// without an answer looks there, and repeats only what was never begun. A call is named by 32
/// hexadecimal digits that its client drew.
///
/// The file holds "MRBCALL1", zeroes up to byte 64, then sets of kWays entries of 32 bytes: two
/// numbers that are the id, when it was begun (a counter), and its state. An id lies in the set
/// that its first number names. The machine's own byte order: the file is for one machine, and
/// worth nothing after its next start.
class CallTable {
 public:
  static constexpr std::size_t kSets = 4096;
  static constexpr std::size_t kWays = 16;

  /// The table of a port's resident. Only the process that is that resident may open it.
  [[nodiscard]] static Result<CallTable> open(const std::string& path);

  /// Notes a call; in the file when this returns. What is forgotten for it is the oldest answered
  /// call of its set, or the oldest at all. False for an id that is none. Thread-safe.
  bool begin(std::string_view id);

  /// Notes that its answer is on its way. Thread-safe.
  void end(std::string_view id);

 private:
  struct Entry;
  struct Id {
    std::uint64_t high;
    std::uint64_t low;
  };

  explicit CallTable(platform::MappedFile file);
  [[nodiscard]] static std::optional<Id> read_id(std::string_view text);
  [[nodiscard]] Entry* set_of(const Id& id) const;

  friend Result<bool> WasBegun(platform::FileSystem& files, const std::string& path,
                               std::string_view id);

  platform::MappedFile file_;
  std::unique_ptr<std::mutex> mutex_ = std::make_unique<std::mutex>();
  std::uint64_t counter_ = 0;  // guarded by mutex_
};

/// Whether the table at `path` knows the call; no table: no. Fails when it cannot be read.
[[nodiscard]] Result<bool> WasBegun(platform::FileSystem& files, const std::string& path,
                                    std::string_view id);

/// Where the table of a port lies, for a resident of that data home and its clients.
[[nodiscard]] std::string CallTablePath(std::int32_t port, const std::string& data_home);

}  // namespace mrb::server
