#pragma once

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "vfs/query/element.h"
#include "vfs/store/store_snapshot.h"

namespace mrb::vfs {

/// A file of a snapshot as queries see it. One object serves all files of a store in turn; for one
/// thread.
///
///   name      the path below the store's root       path      the root, "/" and that
///   topics    the folders that it lies in           keywords  the words of its path and its text
///   text      its current bytes                     flags     deleted, locked, dirty
class FileElement final : public query::Element {
 public:
  explicit FileElement(const VersionStore& store);

  /// `file` must stay until the next call.
  void look_at(const SnapshotFile& file) { file_ = &file; }

  [[nodiscard]] std::string_view name() const override { return file_->path; }
  [[nodiscard]] std::string_view path() const override;
  [[nodiscard]] std::string_view text() const override { return file_->bytes.bytes(); }
  [[nodiscard]] query::List topics() const override;
  [[nodiscard]] query::List keywords() const override;
  [[nodiscard]] query::List flags() const override;
  [[nodiscard]] bool is_deleted() const override { return file_->is_deleted; }

 private:
  void add_words(std::string_view text) const;

  const SnapshotFile* file_ = nullptr;
  std::size_t root_size_ = 0;
  // What the last call of each function gave a view of.
  mutable std::string path_;
  mutable std::vector<std::string_view> topics_;
  mutable std::vector<std::string_view> keywords_;
  mutable std::vector<std::string_view> flags_;
  mutable std::unordered_set<std::string_view> seen_;
};

}  // namespace mrb::vfs
