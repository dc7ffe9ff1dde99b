#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mrb::memory {

/// The argument rules that all memory verbs share. Pure; views point into the text given.

/// At most `limit` fields (1 or more), split at commas outside {…} and trimmed. The last one takes
/// the whole rest, commas included. A brace that is never closed is an ordinary character.
[[nodiscard]] std::vector<std::string_view> SplitFields(std::string_view text, std::size_t limit);

/// The keywords of a field: split at blanks; "two words" in quotes are one keyword. A quote that is
/// never closed is an ordinary character; "-" alone is no keyword.
[[nodiscard]] std::vector<std::string> SplitKeywords(std::string_view field);

/// An optional field: "-" alone stands for empty.
[[nodiscard]] std::string_view OptionalField(std::string_view field);

/// The contexts of a field: the names of a brace list, each once, in order, or the field itself.
[[nodiscard]] std::vector<std::string> SplitContexts(std::string_view field);

}  // namespace mrb::memory
