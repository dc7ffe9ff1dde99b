#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/error.h"
#include "vfs/search/pattern.h"

namespace mrb::vfs {

/// What a search shows of a file.
enum class GrepShow : std::uint8_t { kLines, kMatches, kCounts, kPaths, kPathsWithout };

/// A search command, or one that replaces what it finds.
struct GrepOptions {
  std::string pattern;
  std::string replacement;
  std::vector<std::string> paths;  ///< globs and folders; none: every file
  std::vector<std::string> include;
  std::vector<std::string> exclude;
  std::optional<std::string> store;
  search::PatternOptions engine;
  GrepShow show = GrepShow::kLines;
  bool invert = false;
  std::size_t before = 0;  ///< context lines
  std::size_t after = 0;
  std::uint64_t most = UINT64_MAX;       ///< lines of one file
  std::optional<std::uint32_t> version;  ///< search this one of every file
  bool all_versions = false;
  bool apply = false;  ///< save what was replaced
};

enum class GrepCommand : std::uint8_t { kSearch, kEdit };

/// Flags in any place up to "--", then the pattern, the replacement of an edit, and the paths. The
/// error is a sentence for the user.
[[nodiscard]] Result<GrepOptions> ParseGrep(std::string_view line, GrepCommand command);

}  // namespace mrb::vfs
