#include "platform/boot_id.h"

#include <windows.h>

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

}  // namespace mrb::platform
