#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "memory/context/context_store.h"

namespace mrb::memory {

/// What a check of a context found wrong.
struct LintReport {
  static constexpr std::size_t kMaxLines = 1000;  ///< past that nobody reads, but they are counted

  std::vector<std::string> findings;  ///< the first kMaxLines, one line each
  std::uint64_t count = 0;

  void add(std::string finding) {
    if (++count <= kMaxLines) findings.push_back(std::move(finding));
  }
};

/// Cross-checks everything a store holds: its records against the indexes over them, the webs, the
/// vectors, the overlays, and the file on the disk. Changes nothing; derives webs and vectors when
/// they are not there yet. Needs the store shared.
[[nodiscard]] LintReport Lint(const ContextStore& store);

}  // namespace mrb::memory
