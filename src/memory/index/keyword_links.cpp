#include "memory/index/keyword_links.h"

#include <algorithm>

#include "memory/containers/name_table.h"
#include "memory/text/inflections.h"

namespace mrb::memory {

KeywordLinks::Links& KeywordLinks::links_of(KeywordIndex& keywords, std::uint32_t id) {
  std::uint32_t& place = keywords.entry(id).spare;
  if (place == 0) {
    links_.emplace_back();
    place = static_cast<std::uint32_t>(links_.size());
  }
  return links_[place - 1];
}

const KeywordLinks::Links* KeywordLinks::find(const KeywordIndex& keywords,
                                              std::uint32_t id) const {
  const std::uint32_t place = keywords.entry(id).spare;
  return place == 0 ? nullptr : &links_[place - 1];
}

void KeywordLinks::link(KeywordIndex& keywords, std::uint32_t a, std::uint32_t b) {
  const auto may_link = [&](std::uint32_t from, std::uint32_t to) {
    const auto linked = semantic(keywords, from);
    return linked.size() < kMaxSemantic && std::ranges::find(linked, to) == linked.end();
  };
  if (a != b && may_link(a, b) && may_link(b, a)) {
    lists_.push(links_of(keywords, a).semantic, b);
    lists_.push(links_of(keywords, b).semantic, a);
  }
}

void KeywordLinks::add_keyword(KeywordIndex& keywords, std::uint32_t id) {
  forms_.clear();
  AppendInflections(keywords.name(id), forms_);
  for (const std::string& form : forms_) {
    const std::uint32_t other = keywords.find(form);
    // In a bulk load the later keywords are there already; they link themselves when their turn
    // comes.
    if (other < id) link(keywords, id, other);
  }
  link_bare_forms(keywords, id);
}

std::size_t KeywordLinks::probe_bare(const KeywordIndex& keywords, std::string_view form) const {
  return bare_forms_.probe(HashName(form), static_cast<std::uint32_t>(form.size()),
                           [&](std::uint32_t group) {
                             return BareForm(keywords.name(bare_groups_[group].ids[0])) == form;
                           });
}

void KeywordLinks::link_bare_forms(KeywordIndex& keywords, std::uint32_t id) {
  const std::string_view word = keywords.name(id);
  const std::string form = BareForm(word);
  if (form.empty()) return;
  const std::size_t slot = probe_bare(keywords, form);
  const std::uint32_t group = bare_forms_.id_at(slot);
  if (form == word) {
    for (std::uint32_t i = 0; group != kNoId && i < bare_groups_[group].count; ++i) {
      link(keywords, id, bare_groups_[group].ids[i]);
    }
    return;
  }
  if (const std::uint32_t bare = keywords.find(form); bare < id) link(keywords, id, bare);
  if (group == kNoId) {
    bare_groups_.push_back({{id}, 1});
    bare_forms_.place(slot, HashName(form), static_cast<std::uint32_t>(form.size()),
                      static_cast<std::uint32_t>(bare_groups_.size() - 1));
  } else if (BareGroup& known = bare_groups_[group]; known.count < known.ids.size()) {
    known.ids[known.count++] = id;
  }
}

void KeywordLinks::set_picks(KeywordIndex& keywords, std::uint32_t id, const ThematicPicks& picks) {
  if (picks.count == 0 && find(keywords, id) == nullptr) return;
  const auto place = [&](const ListBlock& block) {
    const auto list = lists_.list(block);
    return static_cast<std::size_t>(std::ranges::lower_bound(list, id) - list.begin());
  };
  const ThematicPicks old = links_of(keywords, id).picks;
  for (const std::uint32_t other : old.span()) {
    ListBlock& block = links_of(keywords, other).picked_by;
    lists_.erase(block, place(block));
  }
  for (const std::uint32_t other : picks.span()) {
    ListBlock& block = links_of(keywords, other).picked_by;
    lists_.insert(block, place(block), id);
  }
  links_of(keywords, id).picks = picks;
}

std::span<const std::uint32_t> KeywordLinks::semantic(const KeywordIndex& keywords,
                                                      std::uint32_t id) const {
  const Links* links = find(keywords, id);
  return links == nullptr ? std::span<const std::uint32_t>() : lists_.list(links->semantic);
}

std::vector<std::uint32_t> KeywordLinks::thematic(const KeywordIndex& keywords,
                                                  std::uint32_t id) const {
  std::vector<std::uint32_t> related;
  if (const Links* links = find(keywords, id)) {
    const auto picks = links->picks.span();
    related.assign(picks.begin(), picks.end());
    for (const std::uint32_t other : lists_.list(links->picked_by)) {
      if (std::ranges::find(picks, other) == picks.end()) related.push_back(other);
    }
  }
  return related;
}

std::vector<std::uint32_t> KeywordLinks::relatives(const KeywordIndex& keywords,
                                                   std::string_view word) const {
  std::vector<std::uint32_t> found;
  const auto add = [&](std::uint32_t id) {
    if (id != kNoId && found.size() < kMaxSemantic && std::ranges::find(found, id) == found.end()) {
      found.push_back(id);
    }
  };
  std::vector<std::string> forms;
  AppendInflections(word, forms);
  std::ranges::for_each(forms, [&](const std::string& form) { add(keywords.find(form)); });
  const std::string bare = BareForm(word);
  if (bare.empty()) return found;
  if (bare != word) {
    add(keywords.find(bare));
  } else if (const auto group = bare_forms_.id_at(probe_bare(keywords, bare)); group != kNoId) {
    const BareGroup& longer = bare_groups_[group];
    std::ranges::for_each(std::span(longer.ids).first(longer.count), add);
  }
  return found;
}

}  // namespace mrb::memory
