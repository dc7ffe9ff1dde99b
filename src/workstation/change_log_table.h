#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "vfs/mirror/journal.h"

namespace mrb::workstation {

/// A stamp as one number, yyyymmddhhmmss.
[[nodiscard]] std::uint64_t PackStamp(const VersionStamp& stamp);
[[nodiscard]] VersionStamp UnpackStamp(std::uint64_t packed);

/// The change log of one store in memory, 48 bytes a line: a store's journal is a file that must be
/// parsed whole, and a page that scrolls through it asks many times. Not thread-safe.
class ChangeLogTable {
 public:
  /// Lines that are kept, the newest ones.
  static constexpr std::size_t kMaxLines = 1'000'000;
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  struct Line {
    std::uint64_t stamp = 0;  ///< packed
    std::uint64_t size = 0;
    std::uint32_t version = 0;
    std::uint32_t path = 0;    ///< for name()
    std::uint32_t author = 0;  ///< for name()
    std::uint32_t before = 0;  ///< the line before of the same path, or kNone
    vfs::ChangeKind kind = vfs::ChangeKind::kCreate;
    bool carried = false;
  };

  void add(const vfs::Change& change);

  [[nodiscard]] const std::vector<Line>& lines() const { return lines_; }
  [[nodiscard]] std::string_view name(std::uint32_t number) const { return *names_[number].text; }

  /// The newest line of a path; kNone when there is none.
  [[nodiscard]] std::uint32_t newest_of(std::string_view path) const;

  /// Who wrote, in no order.
  [[nodiscard]] std::vector<std::string_view> authors() const;

 private:
  struct Name {
    const std::string* text = nullptr;  // a key of numbers_
    std::uint32_t newest = kNone;       // the last line that has it as its path
    bool is_author = false;
  };
  std::uint32_t number_of(std::string_view text);

  std::vector<Line> lines_;
  std::vector<Name> names_;
  std::unordered_map<std::string, std::uint32_t> numbers_;
};

}  // namespace mrb::workstation
