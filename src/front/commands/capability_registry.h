#pragma once

#include <span>
#include <string>
#include <string_view>

namespace mrb::front {

/// How a plain phrase becomes a namespaced command. Each form fits the phrases of its rows' usage.
enum class Phrase {
  kWords,         ///< the words behind the verb, as they are
  kPath,          ///< `<path>`, blanks and all, unless it is quoted or tagged
  kContent,       ///< `<path> content: <text>`
  kMaybeContent,  ///< the same, or the path alone
  kFromTo,        ///< `<a> to <b>`
  kVersion,       ///< `<path> to <n>`, or `<path> <n>`
};

/// One thing a user can say.
struct Capability {
  std::string_view name;
  std::string_view section;
  std::string_view summary;
  std::string_view usage;    ///< alternatives are separated by "   |   "
  std::string_view notes;    ///< may be empty
  std::string_view aliases;  ///< further first words, separated by blanks
  std::string_view target;   ///< the namespaced verb it stands for
  Phrase phrase = Phrase::kWords;
  bool available = false;  ///< whether this build holds the subsystem behind it
};

/// The one table of plain-language verbs: the reference is printed from it and phrases are
/// understood by it, so that the two cannot drift apart.
[[nodiscard]] std::span<const Capability> CapabilityRegistry();

/// What is understood beside them, without a line of its own in the reference.
[[nodiscard]] std::span<const Capability> FurtherPhrases();

/// The row of a name or alias in any letter case; null when there is none.
[[nodiscard]] const Capability* FindCapability(std::string_view word);

/// The answer of `help`: every section and row.
[[nodiscard]] std::string FullReference();

}  // namespace mrb::front
