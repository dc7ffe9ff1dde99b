#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace mrb {

/// In which folder the caller of a command is, as far as it told. A folder that is not known is
/// never replaced by another: a command that acts elsewhere is worse than one that fails.
struct CallerFolder {
  enum class Kind {
    kUntold,  ///< it did not say, as scripts and web clients do not
    kKnown,
    kLost,  ///< it has none to tell: its folder was deleted, or its path is too long
  };
  Kind kind = Kind::kUntold;
  std::string path = {};  ///< absolute; empty unless it is known

  [[nodiscard]] static CallerFolder known(std::string path) {
    return {Kind::kKnown, std::move(path)};
  }
  [[nodiscard]] static CallerFolder lost() { return {Kind::kLost, {}}; }

  [[nodiscard]] bool is_known() const { return kind == Kind::kKnown; }
  [[nodiscard]] bool is_lost() const { return kind == Kind::kLost; }

  /// Why a path that is seen from it means nothing; only where it is not known.
  [[nodiscard]] std::string_view objection() const {
    return is_lost() ? "your folder could not be handed over (deleted, or its path is too long); "
                       "use absolute paths"
                     : "the caller did not say in which folder it is; use absolute paths";
  }

  friend bool operator==(const CallerFolder&, const CallerFolder&) = default;
};

}  // namespace mrb
