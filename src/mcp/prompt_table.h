#pragma once

#include <span>
#include <string_view>

#include "mcp/field.h"

namespace mrb::mcp {

/// A prompt: a text with places for arguments, as command_pattern.h has them.
struct Prompt {
  std::string_view name;
  std::string_view about;
  Field fields[4] = {};  ///< the first without a name ends them
  std::string_view text = {};
};

[[nodiscard]] std::span<const Prompt> Prompts();
[[nodiscard]] const Prompt* FindPrompt(std::string_view name);
[[nodiscard]] std::span<const Field> FieldsOf(const Prompt& prompt);

}  // namespace mrb::mcp
