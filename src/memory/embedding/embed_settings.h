#pragma once

#include <string>
#include <string_view>

#include "memory/embedding/embedder.h"

namespace mrb::memory {

/// A context's semantic lane, as its "embed.cfg" has it.
struct EmbedSettings {
  bool armed = false;
  std::string model = std::string(kDefaultEmbedderModel);

  bool operator==(const EmbedSettings&) const = default;
};

/// Reads the lines "EmbedLane=" (on, armed, true, yes or 1 arm it) and "EmbedderModel="; others are
/// passed over, blanks around names and values ignored. The last of a name counts.
[[nodiscard]] EmbedSettings ParseEmbedSettings(std::string_view text);

[[nodiscard]] std::string FormatEmbedSettings(const EmbedSettings& settings);

}  // namespace mrb::memory
