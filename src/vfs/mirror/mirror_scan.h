#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "vfs/mirror/chain_plan.h"
#include "vfs/mirror/version_write.h"

namespace mrb::vfs {

/// What a whole mirror holds, by MirrorLayout::key().
using MirrorContents = std::unordered_map<std::string, MirrorFacts>;

/// A mirror that is not there holds nothing.
[[nodiscard]] Result<MirrorContents> ScanMirror(const StorePlaces& places);

/// What the mirror holds of one file.
[[nodiscard]] MirrorFacts ScanMirrorOf(const StorePlaces& places, std::string_view path);

/// The mirror's file that holds a version's bytes.
[[nodiscard]] std::string SourcePath(const StorePlaces& places, std::string_view path,
                                     const ByteSource& source);

}  // namespace mrb::vfs
