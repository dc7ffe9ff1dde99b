#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mrb::memory {

/// A list of different names in the order of their first insertion, all in one buffer. Views that
/// it hands out last until the next insertion.
class TokenList {
 public:
  /// Adds `name` at the end unless it is there, byte for byte; says whether it was added.
  bool insert(std::string_view name);

  /// Room for names of `bytes` bytes in all.
  void reserve_bytes(std::size_t bytes) { bytes_.reserve(bytes); }

  [[nodiscard]] std::size_t size() const { return ends_.size(); }
  [[nodiscard]] bool empty() const { return ends_.empty(); }
  [[nodiscard]] std::string_view operator[](std::size_t i) const;

  /// All names, for whoever wants them side by side.
  [[nodiscard]] std::vector<std::string_view> views() const;

 private:
  struct Slot {
    std::uint32_t hash = 0;    // the upper half of the name's
    std::uint32_t number = 0;  // 0: free, else the name's number + 1
  };
  void rehash(std::size_t slots);

  std::string bytes_;
  std::vector<std::size_t> ends_;  // where in bytes_ each name ends
  std::vector<Slot> slots_;        // open addressing
};

}  // namespace mrb::memory
