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

  [[nodiscard]] std::size_t size() const { return ends_.size(); }
  [[nodiscard]] bool empty() const { return ends_.empty(); }
  [[nodiscard]] std::string_view operator[](std::size_t i) const;

  /// All names, for whoever wants them side by side.
  [[nodiscard]] std::vector<std::string_view> views() const;

 private:
  void rehash(std::size_t slots);

  std::string bytes_;
  std::vector<std::size_t> ends_;     // where in bytes_ each name ends
  std::vector<std::uint32_t> slots_;  // open addressing: 0 free, else a name's number + 1
};

}  // namespace mrb::memory
