#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "memory/containers/list_arena.h"
#include "memory/containers/name_table.h"

namespace mrb::memory {

/// The terms of one web, each with the memos that carry it. Terms are found by their beginnings.
/// Readers share it; the rest needs a writer alone.
class TermWeb {
 public:
  /// Notes that memo `row`, not below any noted before, carries the term.
  void add(std::string_view term, std::uint32_t row);

  /// Takes over what another web noted of rows behind all of this one's.
  void append(const TermWeb& later);

  /// Makes find() know all terms, those that are added later included. Until then adding is cheaper
  /// and find() must not be called.
  void order();

  [[nodiscard]] std::size_t size() const { return entries_.size(); }
  [[nodiscard]] std::string_view term(std::uint32_t id) const;
  [[nodiscard]] std::span<const std::uint32_t> rows(std::uint32_t id) const {
    return lists_.list(entries_[id].rows);
  }

  /// The terms that begin with `prefix`, in byte order.
  [[nodiscard]] std::span<const std::uint32_t> find(std::string_view prefix) const;

 private:
  struct Entry {
    std::uint64_t start = 0;  // in names_
    std::uint32_t length = 0;
    ListBlock rows;
  };

  std::uint32_t intern(std::string_view term);

  std::string names_;
  std::vector<Entry> entries_;
  NameTable table_;
  ListArena lists_;
  std::vector<std::uint32_t> order_;  // all terms by name, once ordered_
  bool ordered_ = false;
};

}  // namespace mrb::memory
