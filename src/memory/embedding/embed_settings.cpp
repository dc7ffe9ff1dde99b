#include "memory/embedding/embed_settings.h"

#include <algorithm>
#include <array>

#include "common/text.h"

namespace mrb::memory {

EmbedSettings ParseEmbedSettings(std::string_view text) {
  constexpr auto kArmed = std::to_array<std::string_view>({"on", "armed", "true", "yes", "1"});
  constexpr std::size_t kMaxModelBytes = 256;  // a name; what is longer is no model's
  EmbedSettings settings;
  for (const std::string_view line : Split(text, '\n')) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    const std::string_view name = Trim(line.substr(0, equals));
    const std::string_view value = Trim(line.substr(equals + 1));
    if (name == "EmbedLane") {
      settings.armed = std::ranges::any_of(
          kArmed, [&](std::string_view word) { return EqualsIgnoreCase(word, value); });
    } else if (name == "EmbedderModel" && !value.empty() && value.size() <= kMaxModelBytes) {
      settings.model = value;
    }
  }
  return settings;
}

std::string FormatEmbedSettings(const EmbedSettings& settings) {
  return std::string("EmbedLane=") + (settings.armed ? "on" : "off") +
         "\nEmbedderModel=" + settings.model + "\n";
}

}  // namespace mrb::memory
