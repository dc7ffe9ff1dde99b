#pragma once

#include <string>

#include "vfs/search/pattern.h"

namespace mrb::search {

/// What can be said of every match of a pattern without running it.
struct RequiredLiteral {
  std::string text;       ///< part of every match, in lower case when case is ignored; may be empty
  bool is_whole = false;  ///< a line matches exactly when it holds the text
};

[[nodiscard]] RequiredLiteral FindRequiredLiteral(const Pattern& pattern);

}  // namespace mrb::search
