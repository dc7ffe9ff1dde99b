#pragma once

#include <cstdint>
#include <string>

#include "vfs/store/version_store.h"

namespace mrb::vfs {

/// What became of an enrolment, as text for the user. Pure.
struct EnrollReport {
  std::string directory;
  std::string mirror_root;
  std::string list_path;
  Policy policy;
  IngestReport found;
  bool watched = false;
  std::string notes;  ///< each begins "\n  "
};

[[nodiscard]] std::string FormatEnrolled(const EnrollReport& report);

/// The same for a directory that is only cached.
[[nodiscard]] std::string FormatCacheEnrolled(const EnrollReport& report);

/// Why a first "watch=off" is not obeyed; `again` is the command to give instead.
[[nodiscard]] std::string WatchOffWarning(const std::string& again);

[[nodiscard]] std::string OverMaxSize(const std::string& directory, std::uint64_t size,
                                      std::uint64_t limit);
[[nodiscard]] std::string OverMemory(const std::string& directory, std::uint64_t size,
                                     std::uint64_t available);
[[nodiscard]] std::string OtherMode(const std::string& directory, Policy::Mode now,
                                    Policy::Mode wanted);

}  // namespace mrb::vfs
