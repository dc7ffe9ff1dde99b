#pragma once

#include <string>
#include <string_view>

#include "front/commands/engine.h"

namespace mrb::front {

/// Routes one line to the handler of its namespace or dotted family, or to the plain-language
/// route, and writes the handler's answer text. Every refusal is an answer too. Thread-safe: it
/// keeps nothing between lines.
void Dispatch(const Engine& engine, std::string& answer, std::string_view line);

/// Runs free text whose first word is a verb of the capability registry; other text is answered
/// with what can be said.
[[nodiscard]] std::string RunPlainLanguage(const Engine& engine, std::string_view text);

/// Whether Dispatch() has a route for the line by its form: a colon in its head, a
/// dotted family, or the program's own name in front.
[[nodiscard]] bool HasRoute(std::string_view line);

}  // namespace mrb::front
