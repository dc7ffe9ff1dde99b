#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "memory/context/context_registry.h"
#include "memory/context/memo_undo.h"
#include "memory/embedding/embedder.h"

namespace mrb::memory {

/// A memo as somebody gives it. What it refers to outlives the call that takes it.
struct Memo {
  std::string_view topic;
  std::string_view content;
  std::vector<std::string> keywords;  ///< the given ones; those of the content come by themselves
  std::uint32_t types = 0;
  std::optional<std::uint64_t> written = {};  ///< nothing: the moment its context has been taken
  std::vector<std::string_view> authors =
      {};  ///< names of who gives it, see WrittenMemo::wants_keys
};

/// A memo that stands in a context.
struct MemoPlace {
  std::string context;
  std::string topic;
  std::uint64_t n = 0;    ///< from 1
  std::string mark = {};  ///< its MemoMark() when it was looked at; empty: whichever memo it is
};

/// What became of a memo in one context.
struct WrittenMemo {
  std::string context = {};
  std::uint64_t n = 0;         ///< its number in the topic, from 1
  std::uint64_t offset = 0;    ///< of its record
  std::uint64_t replaced = 0;  ///< memos that went for it
  bool wants_keys = false;     ///< a model type there is named like an author
  std::string mark = {};       ///< empty when memory ran out while the memo was indexed
};

/// A memo in all its contexts, in the order in which they were named.
struct WrittenMemos {
  std::vector<WrittenMemo> contexts;
  std::string notice;  ///< "  [...]" when one of them got it without the vector it wants, or empty
};

/// Why a change did not happen.
struct WriteFailure {
  enum class What : std::uint8_t {
    kRefused,  ///< a context cannot be read or written at all; nothing was touched
    kMissing,  ///< there is no such topic, or no such memo in it
    kChanged,  ///< the memo is not the one that was looked at
    kFailed    ///< the write itself; that context is as it was
  };
  What what = What::kFailed;
  Error error;                       ///< fit for an answer
  std::uint64_t memos = 0;           ///< of kMissing: how many the topic has
  std::string context;               ///< the one concerned
  std::vector<std::string> written;  ///< of kFailed: contexts of the list that have the memo now
};

/// What anybody can do to the memos of contexts; verbs and pages are two ways to ask for it. Made
/// for one call; any thread. Every context is held only while it is written, one at a time, and the
/// embedder is asked before.
class MemoryWriter {
 public:
  template <typename T>
  using Outcome = std::expected<T, WriteFailure>;

  /// Everything given outlives the writer; `now` tells seconds since 1970-01-01 00:00 UTC.
  MemoryWriter(ContextRegistry& contexts, const Embedder& embedder,
               const std::function<std::uint64_t()>& now)
      : contexts_(contexts), embedder_(embedder), now_(now) {}

  /// Makes the memo all that its topic holds, in each of the contexts in turn; a context that does
  /// not exist is made. Nothing is written anywhere unless, at the start, all of them can take it;
  /// a later failure leaves the memo in those before.
  [[nodiscard]] Outcome<WrittenMemos> add(std::span<const std::string> contexts, const Memo& memo);

  /// The same, behind the memos that the topic has.
  [[nodiscard]] Outcome<WrittenMemos> append(std::span<const std::string> contexts,
                                             const Memo& memo);

  /// Puts the memo in the place of another, of the same topic. Returns the notice, as in
  /// WrittenMemos. This and the two below never make a context, and leave in `undo`, when that is
  /// given, what takes the change back.
  [[nodiscard]] Outcome<std::string> update(const MemoPlace& place, const Memo& memo,
                                            MemoUndo* undo = nullptr);

  /// Takes a memo out; returns how many the topic has left. The store as it was stays beside the
  /// new one, here and below.
  [[nodiscard]] Outcome<std::uint64_t> remove_memo(const MemoPlace& place,
                                                   MemoUndo* undo = nullptr);

  /// Takes all memos of a topic out.
  [[nodiscard]] Outcome<void> remove_topic(const std::string& context, const std::string& topic,
                                           MemoUndo* undo = nullptr);

  /// Takes a change back, see TakeBack(); a context that has gone meanwhile is made again.
  [[nodiscard]] Result<std::uint64_t> take_back(const MemoUndo& undo);

 private:
  class Draft;
  struct Held;  // a memo, or all of a topic, in a context that is open for writing
  using WriteOne = Result<WrittenMemo> (*)(ContextStore& store, const RecordFields& memo);

  [[nodiscard]] Outcome<WrittenMemos> write_to_all(std::span<const std::string> contexts,
                                                   const Memo& memo, WriteOne write);
  [[nodiscard]] Outcome<WriteAccess> open_topic(const std::string& context,
                                                const std::string& topic);
  [[nodiscard]] Outcome<Held> hold(const MemoPlace& place);

  ContextRegistry& contexts_;
  const Embedder& embedder_;
  const std::function<std::uint64_t()>& now_;
};

}  // namespace mrb::memory
