#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "memory/memory_service.h"
#include "server/http_message.h"
#include "server/terminals.h"
#include "vfs/vfs_service.h"
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

/// Answers what the workstation pages ask under /ui/api/; docs/http.md lists the routes. The caller
/// has made sure that the request may. Thread-safe.
class Workstation {
 public:
  explicit Workstation(WorkstationParts parts);
  Workstation(const Workstation&) = delete;
  Workstation& operator=(const Workstation&) = delete;
  ~Workstation();

  [[nodiscard]] server::Response answer(const server::Request& request);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace mrb::workstation
