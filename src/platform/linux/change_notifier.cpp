#include "platform/change_notifier.h"

#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <array>
#include <thread>

#include "platform/files.h"
#include "platform/paths.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/system_error.h"
#include "platform/tree_visitor.h"

// inotify watches folders one by one. Which watch belongs to which path is not kept: a notice says
// only that a look is due. But when a folder came, went or moved, the whole set is made anew: that
// way no watch stays on a folder that was moved out of the tree, and none is missing on what was
// moved in. A folder gets its watch before it is listed, so whatever is made in it afterwards is
// either listed or noticed.

namespace mrb::platform {
namespace {

constexpr std::uint32_t kChanges =
    IN_CREATE | IN_DELETE | IN_MODIFY | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr std::uint32_t kRootGoes = IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t kRootWent = kRootGoes | IN_UNMOUNT | IN_IGNORED;
constexpr std::size_t kBlockBytes = std::size_t{16} * 1024;

/// A set of watches, and the reason why it is not complete.
struct Watches {
  Descriptor fd;
  int root = -1;
  int failure = 0;  // an errno value; 0: complete

  [[nodiscard]] int add(const std::string& folder, std::uint32_t mask) {
    const int watch = ::inotify_add_watch(fd.get(), folder.c_str(), mask);
    // What vanished or may not be read is no lack; the limit on watches (ENOSPC) is.
    if (watch < 0 && (errno == ENOSPC || errno == ENOMEM)) failure = errno;
    return watch;
  }
};

/// Puts a watch on each folder of a tree.
class FolderWatcher : public TreeVisitor {
 public:
  FolderWatcher(Watches& watches, const std::string& root, const EntersFolder& enters)
      : watches_(watches), root_(root), enters_(enters) {}

  bool enter(std::string_view folder) override {
    if (watches_.failure != 0 || !enters_(folder)) return false;
    static_cast<void>(watches_.add(JoinPath(root_, folder),
                                   kChanges | IN_ONLYDIR | IN_DONT_FOLLOW | IN_EXCL_UNLINK));
    return watches_.failure == 0;
  }
  void file(std::string_view, const FileStatus&) override {}
  void skipped(std::string_view, Skipped) override {}
  [[nodiscard]] bool wants_files() const override { return false; }

 private:
  Watches& watches_;
  const std::string& root_;
  const EntersFolder& enters_;
};

class InotifyNotifier final : public ChangeNotifier {
 public:
  /// Without `enters` only the root folder is watched.
  InotifyNotifier(std::string root, EntersFolder enters)
      : root_(std::move(root)), enters_(std::move(enters)) {
    watch_all();
  }

  Event wait(std::chrono::milliseconds limit) override {
    if (gone_) return Event::kGone;
    if (pending_) return Event::kChanged;
    if (watches_.root < 0) {
      std::this_thread::sleep_for(limit);
      gone_ = !Exists(SystemFiles(), root_);
      return gone_ ? Event::kGone : Event::kTimedOut;
    }
    pollfd ready{watches_.fd.get(), POLLIN, 0};
    pending_ = ::poll(&ready, 1, static_cast<int>(limit.count())) > 0;
    return pending_ ? Event::kChanged : Event::kTimedOut;
  }

  void rearm() override {
    pending_ = false;
    if (watches_.root < 0) return;
    if (drain() && !gone_) watch_all();
  }

  std::string take_warning() override { return std::exchange(warning_, {}); }

 private:
  /// Reads all notices that are there; true when the set of folders may have changed.
  [[nodiscard]] bool drain() {
    bool folders_changed = false;
    for (;;) {
      const auto got =
          Uninterrupted([&] { return ::read(watches_.fd.get(), block_.data(), block_.size()); });
      if (got <= 0) return folders_changed;  // EAGAIN: that was all
      for (std::size_t at = 0; at < static_cast<std::size_t>(got);) {
        const auto* event = reinterpret_cast<const inotify_event*>(block_.data() + at);
        at += sizeof *event + event->len;
        if (event->wd == watches_.root && (event->mask & kRootWent) != 0) gone_ = true;
        if ((event->mask & (IN_ISDIR | IN_Q_OVERFLOW)) != 0) folders_changed = true;
      }
    }
  }

  /// Starts afresh. Whatever happens between the old set and the new one is seen by the look that
  /// follows every rearm().
  void watch_all() {
    watches_ = {};  // first, or both sets would count against the system's limit
    watches_.fd.reset(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!watches_.fd) {
      watches_.failure = errno;
    } else {
      watches_.root = watches_.add(root_, kChanges | kRootGoes | IN_ONLYDIR);
      gone_ = watches_.root < 0 && watches_.failure == 0;
    }
    if (enters_ && watches_.root >= 0) {
      FolderWatcher visitor(watches_, root_, enters_);
      gone_ = !SystemFiles().walk(root_, visitor).has_value();
    }
    if (watches_.failure != 0 && !warned_) {
      warned_ = true;
      warning_ = SystemError(watches_.failure, "watch every folder of", root_).text +
                 "; changes there are found by looking once a second (the limit is "
                 "fs.inotify.max_user_watches or max_user_instances)";
    }
  }

  std::string root_;
  EntersFolder enters_;
  Watches watches_;
  bool pending_ = false;
  bool gone_ = false;
  bool warned_ = false;
  std::string warning_;
  alignas(inotify_event) std::array<char, kBlockBytes> block_;
};

Result<std::unique_ptr<ChangeNotifier>> Watch(const std::string& root, EntersFolder enters) {
  struct stat info{};
  if (::stat(root.c_str(), &info) != 0) return FailErrno("watch", root);
  if (!S_ISDIR(info.st_mode)) {
    errno = ENOTDIR;
    return FailErrno("watch", root);
  }
  return std::make_unique<InotifyNotifier>(root, std::move(enters));
}

}  // namespace

Result<std::unique_ptr<ChangeNotifier>> WatchTree(const std::string& root, EntersFolder enters) {
  return Watch(root, std::move(enters));
}

Result<std::unique_ptr<ChangeNotifier>> WatchFolder(const std::string& folder) {
  return Watch(folder, nullptr);
}

}  // namespace mrb::platform
