#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mrb::mcp {

/// What a model's client takes in one reply without cutting it itself.
inline constexpr std::size_t kDefaultMaxAnswer = 60'000;
inline constexpr std::size_t kMinMaxAnswer = 1'000;  ///< room for the note and some text

/// The answer from line `offset` (0: the first) on, at most `most` bytes, or
/// kMinMaxAnswer if that is more: cut at a line end, and
/// followed by a line that says how many lines are left and, when `can_page`, which offset gets
/// them. A line that is too long by itself is cut inside, at a whole character, and its pieces
/// count as lines.
[[nodiscard]] std::string SizedAnswer(std::string_view answer, std::uint64_t offset,
                                      std::size_t most, bool can_page);

}  // namespace mrb::mcp
