#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>

#include "front/commands/engine.h"
#include "front/homes.h"
#include "memory/verbs/memory_service.h"
#include "server/http/interpreter_bridge.h"
#include "vfs/verbs/vfs_service.h"

namespace mrb::front {

/// Who is told of what is written, by whomever; both may be empty.
struct WriteObservers {
  vfs::ChangeObserver files;
  memory::MemoryObserver memory;
};

/// Everything that commands run on: the services of one process and an engine for whoever calls.
/// Thread-safe.
class Interpreter : public server::InterpreterBridge {
 public:
  /// `print` takes what a start has to tell the user, and warnings; `is_console`: its output may be
  /// rewritten in place.
  Interpreter(const Homes& homes, std::function<void(std::string_view)> print, bool is_console,
              WriteObservers observers = {});

  /// Loads what a resident keeps in memory, on a thread of its own.
  void start() { files_.start(); }

  /// Ends the shell commands that run, and lets none run any more. Any thread.
  void end_shell_commands() { ending_ = true; }

  void execute(std::string_view bot, std::string_view command, std::string& answer) override;

  [[nodiscard]] vfs::VfsService& files() { return files_; }
  [[nodiscard]] memory::MemoryService& memory() { return memory_; }

  /// Under which name a bot writes.
  [[nodiscard]] std::string author_of(std::string_view bot) const {
    return authors_.author_of(bot);
  }

  /// The context in which a bot's commands run. Must not outlive the interpreter.
  [[nodiscard]] Engine engine_for(std::string_view bot) const;

 private:
  std::atomic<bool> ending_ = false;
  BotRegisters registers_;
  memory::MemoryService memory_;
  BotAuthors authors_;
  vfs::VfsService files_;
  Services services_;
};

}  // namespace mrb::front
