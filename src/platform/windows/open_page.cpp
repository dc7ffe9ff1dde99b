#include "platform/open_page.h"

#include <windows.h>
//
#include <shellapi.h>

#include "platform/windows/wide.h"

namespace mrb::platform {

bool OpenPage(const std::string& url) {
  constexpr INT_PTR kLastErrorValue = 32;  // the call answers more than this when it worked
  const HINSTANCE answer =
      ::ShellExecuteW(nullptr, L"open", Widen(url).c_str(), nullptr, nullptr, SW_SHOWNORMAL);
  return reinterpret_cast<INT_PTR>(answer) > kLastErrorValue;
}

}  // namespace mrb::platform
