#pragma once

#include <memory>

#include "server/http/http_message.h"
#include "workstation/workstation_parts.h"

namespace mrb::workstation {

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
