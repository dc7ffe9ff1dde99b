#pragma once

#include <cstdint>
#include <string>

namespace mrb::platform {

/// A text that stays the same from one start of the machine to the next one; empty when the system
/// does not tell starts apart.
[[nodiscard]] std::string BootId();

struct SystemMemory {
  std::uint64_t total = 0;      ///< bytes of physical memory
  std::uint64_t available = 0;  ///< bytes that can be had without swapping
};

/// Zeros when the system will not say.
[[nodiscard]] SystemMemory ReadSystemMemory();

/// Bytes of physical memory that this process holds now; 0 when unknown.
[[nodiscard]] std::uint64_t ProcessResidentBytes();

/// Gives memory that was freed back to the system, where the allocator keeps it for later. Worth
/// its time (some milliseconds for a large heap) after much was freed that will not be needed
/// again.
void ReturnFreedMemory();

}  // namespace mrb::platform
