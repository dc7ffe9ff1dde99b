#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "memory/verbs/memory_service.h"
#include "server/terminals/terminals.h"
#include "vfs/verbs/vfs_service.h"
#include "workstation/activity.h"

namespace mrb::workstation {

/// What the pages look at. All of it outlives the workstation.
struct WorkstationParts {
  vfs::VfsService& files;
  memory::MemoryService& memory;
  server::Terminals& terminals;
  Activity& activity;                   ///< told by the three above
  std::function<std::string()> author;  ///< under which name a page writes; any thread
  std::int32_t port = 0;
};

}  // namespace mrb::workstation
