#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/error.h"

namespace mrb::vfs {

/// Which files of a store version, by what their names end in.
class ExtensionFilter {
 public:
  /// Admits everything.
  ExtensionFilter() = default;

  /// Reads "none", "only", "allbut", or one of the latter two with ":" and a list of endings
  /// separated by commas: ".c", "c" or "*.c", and "default" for the built-in set. Letters of any
  /// case. kInvalidArgument names the piece that is wrong.
  [[nodiscard]] static Result<ExtensionFilter> parse(std::string_view text);

  /// The form that parse() reads back as an equal filter.
  [[nodiscard]] std::string text() const;

  /// Whether a file of this name and size versions. The built-in sets look at the size of images;
  /// an ending in the list holds for any size.
  [[nodiscard]] bool admits(std::string_view path, std::uint64_t bytes) const;

  [[nodiscard]] bool operator==(const ExtensionFilter&) const = default;

 private:
  enum class Kind { kNone, kOnly, kAllBut };

  [[nodiscard]] Status add(std::string_view ending);

  Kind kind_ = Kind::kNone;
  bool with_built_in_ = false;
  std::vector<std::string> endings_;  // lower case, with the dot, as first given, no doubles
};

}  // namespace mrb::vfs
