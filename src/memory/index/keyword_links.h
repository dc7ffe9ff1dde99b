#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "memory/containers/name_table.h"
#include "memory/index/cooccurrence.h"
#include "memory/index/posting_table.h"

namespace mrb::memory {

/// The thesaurus links between the keywords of one context, made when memos are added so that a
/// search only reads them. Both kinds hold in both directions, and both depend on nothing but the
/// records: the same ones come about whether memos were added one by one or loaded at once.
///
/// Semantic: one keyword is a simple inflection of the other or the other without its dots and
/// digits. Keywords are linked as they first appear; one that has kMaxSemantic links takes no more.
/// Thematic: one keyword is among the other's picks (thematic_picks.h).
class KeywordLinks {
 public:
  static constexpr std::size_t kMaxSemantic = 8;

  /// Links keyword `id`, the newest so far, to its relatives among those before it.
  void add_keyword(KeywordIndex& keywords, std::uint32_t id);

  /// Replaces what `id` picked before.
  void set_picks(KeywordIndex& keywords, std::uint32_t id, const ThematicPicks& picks);

  /// The keyword's semantic relatives in the order in which they were linked.
  [[nodiscard]] std::span<const std::uint32_t> semantic(const KeywordIndex& keywords,
                                                        std::uint32_t id) const;

  /// The keyword's own picks, best first, then the keywords that picked it, in ascending order;
  /// none twice. As many as picked it, which for a hub of its context may be hundreds.
  [[nodiscard]] std::vector<std::uint32_t> thematic(const KeywordIndex& keywords,
                                                    std::uint32_t id) const;

  /// The keywords that would be the semantic relatives of `word` if it were added now; at most
  /// kMaxSemantic.
  [[nodiscard]] std::vector<std::uint32_t> relatives(const KeywordIndex& keywords,
                                                     std::string_view word) const;

 private:
  struct Links {
    ListBlock semantic;
    ListBlock picked_by;  // ascending
    ThematicPicks picks;
  };

  /// The longer tokens that have one bare form; the first few are enough.
  struct BareGroup {
    std::array<std::uint32_t, kMaxSemantic> ids{};
    std::uint32_t count = 0;
  };

  Links& links_of(KeywordIndex& keywords, std::uint32_t id);
  [[nodiscard]] const Links* find(const KeywordIndex& keywords, std::uint32_t id) const;
  void link(KeywordIndex& keywords, std::uint32_t a, std::uint32_t b);
  [[nodiscard]] std::size_t probe_bare(const KeywordIndex& keywords, std::string_view form) const;
  void link_bare_forms(KeywordIndex& keywords, std::uint32_t id);

  std::vector<Links> links_;  // those that have any; a keyword's spare word is its place + 1
  ListArena lists_;
  NameTable bare_forms_;  // bare form -> place in bare_groups_
  std::vector<BareGroup> bare_groups_;
  std::vector<std::string> forms_;  // scratch
};

}  // namespace mrb::memory
