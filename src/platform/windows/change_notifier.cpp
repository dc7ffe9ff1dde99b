#include "platform/change_notifier.h"

#include <array>
#include <vector>

#include "platform/windows/file_status.h"
#include "platform/windows/handle.h"
#include "platform/windows/system_error.h"
#include "platform/windows/wide.h"

// One overlapped read is always pending while nothing was noticed. What it writes into its buffer
// is not looked at; an answer that did not fit (a read of no bytes, or ERROR_NOTIFY_ENUM_DIR) is a
// change like any other.

namespace mrb::platform {
namespace {

constexpr DWORD kTreeBytes = 16384;
constexpr DWORD kFolderBytes = 4096;
constexpr DWORD kFileChanges =
    FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_SIZE | FILE_NOTIFY_CHANGE_LAST_WRITE;

class ReadChangesNotifier final : public ChangeNotifier {
 public:
  /// `event` is a manual-reset one.
  ReadChangesNotifier(Handle folder, Handle event, bool is_tree)
      : folder_(std::move(folder)),
        event_(std::move(event)),
        is_tree_(is_tree),
        buffer_((is_tree ? kTreeBytes : kFolderBytes) / sizeof(DWORD)) {
    listen();
  }

  ~ReadChangesNotifier() override {
    if (!is_listening_) return;
    // The system writes into the buffer until the read has ended, also a cancelled one.
    DWORD bytes = 0;
    ::CancelIoEx(folder_.get(), &read_);
    ::GetOverlappedResult(folder_.get(), &read_, &bytes, TRUE);
  }

  Event wait(std::chrono::milliseconds limit) override {
    if (!is_listening_) return Event::kGone;
    if (::WaitForSingleObject(event_.get(), static_cast<DWORD>(limit.count())) != WAIT_OBJECT_0) {
      return Event::kTimedOut;
    }
    DWORD bytes = 0;
    const bool noticed = ::GetOverlappedResult(folder_.get(), &read_, &bytes, FALSE) != 0 ||
                         ::GetLastError() == ERROR_NOTIFY_ENUM_DIR;
    if (!noticed) is_listening_ = false;
    return noticed ? Event::kChanged : Event::kGone;
  }

  void rearm() override {
    // A read that is still pending stays: it was not its event that brought the caller here.
    if (is_listening_ && ::WaitForSingleObject(event_.get(), 0) == WAIT_OBJECT_0) listen();
  }

  std::string take_warning() override { return {}; }

 private:
  void listen() {
    ::ResetEvent(event_.get());
    read_ = {};
    read_.hEvent = event_.get();
    const DWORD changes = kFileChanges | (is_tree_ ? FILE_NOTIFY_CHANGE_DIR_NAME : 0);
    is_listening_ = ::ReadDirectoryChangesW(folder_.get(), buffer_.data(),
                                            static_cast<DWORD>(buffer_.size() * sizeof(DWORD)),
                                            is_tree_, changes, nullptr, &read_, nullptr) != 0;
  }

  Handle folder_;
  Handle event_;
  bool is_tree_;
  std::vector<DWORD> buffer_;  // aligned as the call wants it
  OVERLAPPED read_{};
  bool is_listening_ = false;
};

Result<std::unique_ptr<ChangeNotifier>> Watch(const std::string& root, bool is_tree) {
  Handle folder(::CreateFileW(WidePath(root).c_str(), FILE_LIST_DIRECTORY, kShareAll, nullptr,
                              OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED,
                              nullptr));
  if (!folder) return FailLastError("watch", root);
  Handle event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (!event) return FailLastError("watch", root);
  return std::make_unique<ReadChangesNotifier>(std::move(folder), std::move(event), is_tree);
}

}  // namespace

Result<std::unique_ptr<ChangeNotifier>> WatchTree(const std::string& root, EntersFolder) {
  return Watch(root, true);
}

Result<std::unique_ptr<ChangeNotifier>> WatchFolder(const std::string& folder) {
  return Watch(folder, false);
}

}  // namespace mrb::platform
