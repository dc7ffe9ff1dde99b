#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace mrb::server {

/// What a terminal has shown: the last part of it, addressed by how many bytes came before. Not
/// thread-safe.
class TerminalOutput {
 public:
  static constexpr std::size_t kMax = 262144;   ///< past this,
  static constexpr std::size_t kKept = 200000;  ///< this much stays, so that cutting is rare

  void append(std::string_view piece);

  /// The bytes ever appended.
  [[nodiscard]] std::uint64_t total() const { return base_ + bytes_.size(); }

  /// What came from byte `begin` up to, not including, byte `end`, as far as it is still held. The
  /// view lasts until the next append().
  [[nodiscard]] std::string_view between(std::uint64_t begin, std::uint64_t end) const;

 private:
  std::string bytes_;
  std::uint64_t base_ = 0;  // bytes dropped from the front
};

/// The bytes at the end of `text` that begin a UTF-8 sequence which more bytes could complete: 0 to
/// 3.
[[nodiscard]] std::size_t UnfinishedUtf8(std::string_view text);

}  // namespace mrb::server
