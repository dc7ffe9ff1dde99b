#include "platform/system_info.h"

#include <windows.h>

#include <psapi.h>

namespace mrb::platform {

/// The boot loader counts the starts.
std::string BootId() {
  DWORD count = 0;
  DWORD size = sizeof count;
  const LSTATUS status = ::RegGetValueW(
      HKEY_LOCAL_MACHINE,
      L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Memory Management\\PrefetchParameters",
      L"BootId", RRF_RT_REG_DWORD, nullptr, &count, &size);
  return status == ERROR_SUCCESS ? std::to_string(count) : std::string();
}

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
