#include "platform/system_memory.h"

#include <windows.h>
//
#include <psapi.h>

namespace mrb::platform {

SystemMemory ReadSystemMemory() {
  MEMORYSTATUSEX status{};
  status.dwLength = sizeof status;
  if (!::GlobalMemoryStatusEx(&status)) return {};
  return {status.ullTotalPhys, status.ullAvailPhys};
}

std::uint64_t ProcessResidentBytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  if (!::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters)) return 0;
  return counters.WorkingSetSize;
}

void ReturnFreedMemory() {
  static_cast<void>(::HeapCompact(::GetProcessHeap(), 0));
}

}  // namespace mrb::platform
