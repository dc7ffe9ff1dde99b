#pragma once

#include <string>
#include <string_view>

namespace mrb {

/// A percent sign followed by two hexadecimal digits becomes that byte; everything else, stray
/// percent signs included, stays.
[[nodiscard]] std::string DecodePercent(std::string_view text);

/// Like DecodePercent(), for form values (application/x-www-form-urlencoded): a plus sign becomes a
/// blank as well.
[[nodiscard]] std::string DecodeForm(std::string_view text);

/// The text as a value in a query: letters, digits and "-", ".", "_", "~" stay, every other byte
/// becomes a percent sign and two digits. DecodeForm() undoes it.
[[nodiscard]] std::string EncodeForm(std::string_view text);

/// The same for a path in a header, where "/" and ":" stay too. DecodePercent() undoes it.
[[nodiscard]] std::string EncodePath(std::string_view path);

}  // namespace mrb
