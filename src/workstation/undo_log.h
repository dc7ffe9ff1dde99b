#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

#include "memory/context/memo_undo.h"

namespace mrb::workstation {

/// The last changes, each to be taken back once. Thread-safe.
class UndoLog {
 public:
  static constexpr std::size_t kMaxChanges = 50;
  static constexpr std::size_t kMaxBytes = std::size_t{32} << 20U;

  /// Keeps a change; its number, by which it is asked for. The oldest ones make room; what is too
  /// large by itself is not kept: 0.
  [[nodiscard]] std::uint64_t put(memory::MemoUndo undo);

  /// Takes it off the shelf; nothing when it is not there any more.
  [[nodiscard]] std::optional<memory::MemoUndo> take(std::uint64_t number);

 private:
  struct Kept {
    std::uint64_t number = 0;
    std::size_t bytes = 0;
    memory::MemoUndo undo;
  };

  std::mutex mutex_;
  // All guarded by mutex_:
  std::deque<Kept> kept_;
  std::size_t bytes_ = 0;
  std::uint64_t last_ = 0;
};

}  // namespace mrb::workstation
