#pragma once

#include <string>
#include <string_view>

namespace mrb {

/// The text every verb answers with: "OK: ", "WARN: " or "ERROR: " and what happened.

[[nodiscard]] inline std::string OkAnswer(std::string_view text) {
  return std::string("OK: ").append(text);
}

[[nodiscard]] inline std::string ErrorAnswer(std::string_view text) {
  return std::string("ERROR: ").append(text);
}

[[nodiscard]] inline bool IsErrorAnswer(std::string_view answer) {
  return answer.starts_with("ERROR:");
}

}  // namespace mrb
