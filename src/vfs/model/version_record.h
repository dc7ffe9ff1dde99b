#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "vfs/model/blob.h"

namespace mrb {

/// Who wrote a version: at most 39 bytes and a NUL, padded with NULs. A longer name is cut where a
/// character ends.
class AuthorName {
 public:
  static constexpr std::size_t kBytes = 40;

  AuthorName() = default;
  explicit AuthorName(std::string_view name);

  [[nodiscard]] std::string_view text() const;
  /// All forty bytes, as they go into a node image.
  [[nodiscard]] std::string_view padded() const { return {bytes_.data(), bytes_.size()}; }

  friend bool operator==(const AuthorName&, const AuthorName&) = default;

 private:
  std::array<char, kBytes> bytes_{};
};

/// A moment of local time, to the second.
struct VersionStamp {
  std::uint32_t year = 0;
  std::uint32_t month = 0;   ///< 1 to 12
  std::uint32_t day = 0;     ///< 1 to 31
  std::uint32_t hour = 0;    ///< 0 to 23
  std::uint32_t minute = 0;  ///< 0 to 59
  std::uint32_t second = 0;  ///< 0 to 60

  friend auto operator<=>(const VersionStamp&, const VersionStamp&) = default;
};

/// "2026-11-23 09:05:00".
[[nodiscard]] std::string StampText(const VersionStamp& stamp);

/// The stamp that StampText() wrote; all zeros for any other text.
[[nodiscard]] VersionStamp ParseStamp(std::string_view text);

/// One saved version of a file. What a pass over all files reads stands first, close together.
struct VersionRecord {
  std::uint32_t version = 0;
  bool tombstone = false;  ///< the record that a delete appends
  vfs::Blob bytes;         ///< the whole file; empty for a tombstone
  AuthorName author;
  VersionStamp stamp;
};

}  // namespace mrb
