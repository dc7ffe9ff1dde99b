#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace mrb::workstation {

/// What a change of memos took away or put in, so that it can be taken back.
struct Undo {
  enum class What : std::uint8_t { kAdded, kUpdated, kRemoved };
  /// A memo of the topic: its place from 1, and its record as it was.
  struct Memo {
    std::uint64_t n = 0;
    std::string record;
  };
  What what = What::kRemoved;
  std::string context;
  std::string topic;
  std::vector<Memo> memos;  ///< by place; of what was added, the place alone
  std::string mark;         ///< of the memo that was added, or stands where it was updated
};

/// The last changes, each to be taken back once. Thread-safe.
class UndoLog {
 public:
  static constexpr std::size_t kMaxChanges = 50;
  static constexpr std::size_t kMaxBytes = std::size_t{32} << 20U;

  /// Keeps a change; its number, by which it is asked for. The oldest ones make room; what is too
  /// large by itself is not kept: 0.
  [[nodiscard]] std::uint64_t put(Undo undo);

  /// Takes it off the shelf; nothing when it is not there any more.
  [[nodiscard]] std::optional<Undo> take(std::uint64_t number);

 private:
  struct Kept {
    std::uint64_t number = 0;
    std::size_t bytes = 0;
    Undo undo;
  };

  std::mutex mutex_;
  // All guarded by mutex_:
  std::deque<Kept> kept_;
  std::size_t bytes_ = 0;
  std::uint64_t last_ = 0;
};

}  // namespace mrb::workstation
