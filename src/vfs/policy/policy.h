#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "common/error.h"
#include "vfs/policy/extension_filter.h"

namespace mrb::vfs {

/// How one enrolled directory is versioned.
struct Policy {
  enum class Scope {
    kAll,     ///< every file versions from ingest on
    kEdited,  ///< a chain starts with a file's first change
  };
  enum class Mode {
    kVersioned,          ///< "vc"
    kCacheWriteThrough,  ///< "cachewt": a cache in RAM, no versions
  };

  /// The largest repository where neither the flag nor the setting says otherwise.
  static constexpr std::uint64_t kDefaultMaxBytes = std::uint64_t{2} << 30U;

  Scope scope = Scope::kAll;
  ExtensionFilter ext;
  bool watch = true;
  std::uint64_t max_bytes = kDefaultMaxBytes;  ///< 0: no limit
  Mode mode = Mode::kVersioned;

  [[nodiscard]] bool operator==(const Policy&) const = default;
};

/// What a command's flags say, and nothing else: what was not mentioned keeps its value.
struct PolicyChange {
  std::optional<Policy::Scope> scope;
  std::optional<ExtensionFilter> ext;
  std::optional<bool> watch;
  std::optional<std::uint64_t> max_bytes;
  std::optional<Policy::Mode> mode;
  bool confirms_watch_off = false;  ///< "confirm=watchoff"

  /// No flag at all, the confirmation included.
  [[nodiscard]] bool is_empty() const;

  [[nodiscard]] Policy applied_to(Policy policy) const;
};

/// Whether `word` begins with the name of a policy flag and "=", so that a command line can be told
/// apart into a directory and what is to be done with it. Its value may still be wrong.
[[nodiscard]] bool IsPolicyFlag(std::string_view word);

/// Reads flags separated by blanks, in any of their spellings; the last of a kind holds.
/// kInvalidArgument for a flag that is unknown or has a value that it cannot have.
[[nodiscard]] Result<PolicyChange> ParsePolicy(std::string_view flags);

/// "scope=… ext=… watch=… max=… mode=…", which ParsePolicy() reads back.
[[nodiscard]] std::string FormatPolicy(const Policy& policy);

/// The word of the mode flag: "vc" or "cachewt".
[[nodiscard]] std::string_view ModeName(Policy::Mode mode);

}  // namespace mrb::vfs
