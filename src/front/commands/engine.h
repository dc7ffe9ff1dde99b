#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "front/commands/bot_registers.h"
#include "vfs/verbs/vfs_service.h"

namespace mrb::memory {
class MemoryService;
}

namespace mrb::front {

/// The author identity that each bot has set: stamped on its versions, and the owner of its locks.
/// Thread-safe.
class BotAuthors {
 public:
  /// The bot's own id until it has set another name.
  [[nodiscard]] std::string author_of(std::string_view bot) const;

  /// False, and nothing changed, when the book is full.
  [[nodiscard]] bool set(std::string_view bot, std::string_view author);

 private:
  // Bots are named by their callers: without a bound a script could fill the resident's memory.
  static constexpr std::size_t kMaxBots = 10'000;

  mutable std::mutex mutex_;
  std::map<std::string, std::string, std::less<>> authors_;  // guarded by mutex_
};

/// What every engine of one process shares. Set up before the first command.
struct Services {
  memory::MemoryService* memory = nullptr;
  vfs::VfsService* files = nullptr;
  BotAuthors* authors = nullptr;
  BotRegisters* registers = nullptr;
  /// Told of the begin (true) and end (false) of each handler call, by a name like "fs.cat"; may be
  /// empty. Called on the caller's thread.
  std::function<void(std::string_view span, bool begin)> trace;
  /// Becomes true when running shell commands are to end; null: never.
  const std::atomic<bool>* ending = nullptr;
};

/// The context in which one bot's commands run; handed to every handler. Cheap to make per call.
struct Engine {
  std::string bot;
  std::string store_label = "fs";
  const Services* services = nullptr;
};

/// Reports a span to the engine's trace for as long as it lives.
class TraceSpan {
 public:
  TraceSpan(const Engine& engine, std::string name);
  TraceSpan(const TraceSpan&) = delete;
  TraceSpan& operator=(const TraceSpan&) = delete;
  ~TraceSpan();

 private:
  const Engine& engine_;
  std::string name_;
};

/// Who calls, and from where, as versioned files want to know it.
[[nodiscard]] vfs::VfsCall CallOf(const Engine& engine);

/// Runs a verb of one of the namespaces of versioned files for the caller of the present thread.
[[nodiscard]] std::string RunFiles(const Engine& engine, std::string_view name_space,
                                   std::string_view verb, std::string_view arguments);

/// The answer of a verb whose subsystem this executable does not hold.
[[nodiscard]] std::string NotInThisBuild(std::string_view verb);

}  // namespace mrb::front
