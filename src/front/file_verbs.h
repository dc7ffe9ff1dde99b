#pragma once

#include <string>
#include <string_view>

#include "front/engine.h"
#include "vfs/vfs_service.h"

namespace mrb::front {

/// Who calls, and from where, as versioned files want to know it.
[[nodiscard]] vfs::VfsCall CallOf(const Engine& engine);

/// Runs a verb of one of the namespaces of versioned files for the caller of the present thread.
[[nodiscard]] std::string RunFiles(const Engine& engine, std::string_view name_space,
                                   std::string_view verb, std::string_view arguments);

}  // namespace mrb::front
