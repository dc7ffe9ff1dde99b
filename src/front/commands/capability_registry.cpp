#include "front/commands/capability_registry.h"

#include <algorithm>

#include "common/text.h"

namespace mrb::front {

const Capability* FindCapability(std::string_view word) {
  const auto is_meant = [word](const Capability& capability) {
    if (EqualsIgnoreCase(capability.name, word)) return true;
    return std::ranges::any_of(SplitWords(capability.aliases), [word](std::string_view alias) {
      return EqualsIgnoreCase(alias, word);
    });
  };
  for (const auto rows : {CapabilityRegistry(), FurtherPhrases()}) {
    const auto row = std::ranges::find_if(rows, is_meant);
    if (row != rows.end()) return &*row;
  }
  return nullptr;
}

std::string FullReference() {
  std::string text =
      "OK: Mirebolt — one entrypoint; say what you want in plain language. Version control\n"
      "is automatic (this FS's own, NOT git) — you never check in by hand.\n\n"
      "Full reference (generated from the live registry):\n";
  std::string_view section;
  for (const Capability& row : CapabilityRegistry()) {
    if (row.section != section) {
      section = row.section;
      text.append("\n== ").append(section).append(" ==\n");
    }
    text.append(row.name).append(" — ").append(row.summary).append("\n");
    text.append("    ").append(row.usage).append("\n");
    if (!row.notes.empty()) text.append("    (").append(row.notes).append(")\n");
    if (!row.available) text.append("    (not available in this build)\n");
  }
  return text;
}

}  // namespace mrb::front
