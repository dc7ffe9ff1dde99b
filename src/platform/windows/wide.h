#pragma once

#include <string>
#include <string_view>

namespace mrb::platform {

/// UTF-8 to UTF-16 and back, for the system's wide calls; what is no valid text becomes U+FFFD.
[[nodiscard]] std::wstring Widen(std::string_view text);
[[nodiscard]] std::string Narrow(std::wstring_view text);

/// `path` as a file call takes it. One that is too long for the plain form is made absolute and
/// gets the prefix that lifts the limit.
[[nodiscard]] std::wstring WidePath(std::string_view path);

/// The full form of `path`; empty when the system cannot say.
[[nodiscard]] std::wstring FullPath(const std::wstring& path);

}  // namespace mrb::platform
