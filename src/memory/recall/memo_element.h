#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "memory/index/context_index.h"
#include "vfs/query/element.h"

namespace mrb::memory {

/// A memo as queries see it. One object serves all memos of a context in turn; for one thread. The
/// context must not change meanwhile.
///
///   name    "topic#n"             topics, keywords  its topic and its keywords
///   path    its topic             flags             the names of its types
///   text    the whole memo
class MemoElement final : public query::Element {
 public:
  explicit MemoElement(const ContextIndex& index) : index_(index) {}

  void look_at(std::uint32_t row);

  [[nodiscard]] std::string_view name() const override;
  [[nodiscard]] std::string_view path() const override { return record_.topic; }
  [[nodiscard]] std::string_view text() const override { return record_.content; }
  [[nodiscard]] query::List topics() const override { return keywords(); }
  [[nodiscard]] query::List keywords() const override;
  [[nodiscard]] query::List flags() const override;
  [[nodiscard]] bool is_deleted() const override { return false; }

 private:
  const ContextIndex& index_;
  std::uint32_t row_ = 0;
  RecordView record_;
  // What the last call of each function gave a view of; empty until it is asked for.
  mutable std::string name_;
  mutable std::vector<std::string_view> keywords_;
  mutable std::vector<std::string_view> flags_;
};

}  // namespace mrb::memory
