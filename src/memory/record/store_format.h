#pragma once

#include <cstdint>
#include <string_view>

namespace mrb::memory {

/// The files of a context's folder; docs/memory-store.md has the layouts.
inline constexpr std::string_view kStoreFileName = "data.mrb4";
inline constexpr std::string_view kPreviousStoreFileName = "data.mrb4.last";
inline constexpr std::string_view kLegacyStoreFileName = "data.mem";
inline constexpr std::string_view kContextIdFileName = "context.id";
inline constexpr std::string_view kLockFileName = "context.lock";

inline constexpr std::string_view kEmbedSettingsName = "embed.cfg";
inline constexpr std::string_view kOverlayPrefix = "model-";
inline constexpr std::string_view kOverlaySuffix = ".ovm";
inline constexpr std::string_view kOverlayMagic = "OVM1";
/// There while overlays wait for the store they belong to; see overlay_set.h.
inline constexpr std::string_view kOverlayNoteName = "overlays.next";

/// The folders beside the contexts that hold retired ones. No id begins with a dot.
inline constexpr std::string_view kPurgedFolderName = ".purged";
inline constexpr std::string_view kArchiveFolderName = ".archive";

/// A store file is one of these four bytes and then records to its end: timed ones behind the first
/// two, records without a write time behind the last.
inline constexpr std::string_view kMagic = "MRB4";
inline constexpr std::string_view kMagicTimedLegacy = "MRB3";
inline constexpr std::string_view kMagicUntimedLegacy = "MRB2";

}  // namespace mrb::memory
