#pragma once

#include <cstdint>

namespace mrb::platform {

struct SystemMemory {
  std::uint64_t total = 0;      ///< bytes of physical memory
  std::uint64_t available = 0;  ///< bytes that can be had without swapping
};

/// Zeros when the system will not say.
[[nodiscard]] SystemMemory ReadSystemMemory();

/// Bytes of physical memory that this process holds now; 0 when unknown.
[[nodiscard]] std::uint64_t ProcessResidentBytes();

}  // namespace mrb::platform
