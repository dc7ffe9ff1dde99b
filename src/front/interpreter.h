#pragma once

#include <string>
#include <string_view>

#include "front/engine.h"
#include "front/homes.h"
#include "memory/memory_service.h"
#include "server/interpreter_bridge.h"

namespace mrb::front {

/// Everything that commands run on: the services of one process and an engine for whoever calls.
/// Thread-safe.
class Interpreter : public server::InterpreterBridge {
 public:
  explicit Interpreter(const Homes& homes);

  void execute(std::string_view bot, std::string_view command, std::string& answer) override;

  /// The context in which a bot's commands run. Must not outlive the interpreter.
  [[nodiscard]] Engine engine_for(std::string_view bot) const;

 private:
  memory::MemoryService memory_;
  AuthorBook authors_;
  Services services_;
};

}  // namespace mrb::front
