#pragma once

#include <string>
#include <string_view>

#include "front/capability_registry.h"
#include "front/engine.h"

namespace mrb::front {

/// Runs free text whose first word is a verb of the capability registry; other text is answered
/// with what can be said.
[[nodiscard]] std::string RunPlainLanguage(const Engine& engine, std::string_view text);

/// Whether the text's first word is a verb or alias of the registry, any letter case.
[[nodiscard]] bool IsPlainLanguage(std::string_view text);

/// The namespaced command that a row's phrase stands for; `words` is what follows the verb. Empty
/// when the words do not have the phrase's form.
[[nodiscard]] std::string RewritePhrase(const Capability& row, std::string_view words);

}  // namespace mrb::front
