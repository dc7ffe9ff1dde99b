#pragma once

#include <string>
#include <string_view>

#include "front/commands/capability_registry.h"

namespace mrb::front {

/// What free text stands for: a namespaced command, or the answer that refuses it.
struct PlainCommand {
  std::string command = {};
  std::string refusal = {};  ///< empty: run the command
};

/// Reads free text whose first word is a verb of the capability registry; other text is refused
/// with what can be said.
[[nodiscard]] PlainCommand ReadPlainLanguage(std::string_view text);

/// Whether the text's first word is a verb or alias of the registry, any letter case.
[[nodiscard]] bool IsPlainLanguage(std::string_view text);

/// The namespaced command that a row's phrase stands for; `words` is what follows the verb. Empty
/// when the words do not have the phrase's form.
[[nodiscard]] std::string RewritePhrase(const Capability& row, std::string_view words);

}  // namespace mrb::front
