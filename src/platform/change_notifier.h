#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "common/error.h"

namespace mrb::platform {

/// Tells that something may have changed in a tree or a folder, never what: systems lose and merge
/// such notices, so whoever hears one looks for himself.
///
///     if (notifier.wait(limit) == Event::kChanged) {
///       ...let a burst of changes settle...
///       notifier.rearm();
///       ...look at the tree...
///     }
///
/// For one thread at a time.
class ChangeNotifier {
 public:
  enum class Event {
    kChanged,   ///< something changed since the last rearm(), or notices were lost
    kTimedOut,  ///< nothing was noticed, which on some file systems does not mean that nothing was
    kGone,      ///< the root was removed or renamed; nothing will be noticed any more
  };

  ChangeNotifier() = default;
  ChangeNotifier(const ChangeNotifier&) = delete;
  ChangeNotifier& operator=(const ChangeNotifier&) = delete;
  virtual ~ChangeNotifier() = default;

  /// Waits for a change, at most `limit`. After kChanged it answers kChanged until rearm().
  [[nodiscard]] virtual Event wait(std::chrono::milliseconds limit) = 0;

  /// Forgets the changes so far and listens for the next. Called before looking at the tree, so
  /// that what changes during the look is noticed.
  virtual void rearm() = 0;

  /// What keeps this one from noticing everything (a limit of the system), as a sentence for the
  /// user, once; empty when there is nothing new to say.
  [[nodiscard]] virtual std::string take_warning() = 0;
};

/// Whether a folder below the root, named as TreeVisitor names it, belongs to the tree.
using EntersFolder = std::function<bool(std::string_view folder)>;

/// Watches all that is below `root`, folders that come later included. Changes in folders that
/// `enters` refuses may be noticed or not. Fails when the root is no folder or cannot be opened.
[[nodiscard]] Result<std::unique_ptr<ChangeNotifier>> WatchTree(const std::string& root,
                                                                EntersFolder enters);

/// Watches the files directly in `folder`.
[[nodiscard]] Result<std::unique_ptr<ChangeNotifier>> WatchFolder(const std::string& folder);

}  // namespace mrb::platform
