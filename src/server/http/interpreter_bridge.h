#pragma once

#include <string>
#include <string_view>

#include "common/caller_folder.h"

namespace mrb::server {

/// How the routes run commands. Implemented by the front end. Thread-safe: every connection calls
/// it from its own thread, several at once.
class InterpreterBridge {
 public:
  InterpreterBridge() = default;
  InterpreterBridge(const InterpreterBridge&) = delete;
  InterpreterBridge& operator=(const InterpreterBridge&) = delete;
  virtual ~InterpreterBridge() = default;

  /// Executes one command text for a bot and writes its answer text. Never throws.
  virtual void execute(std::string_view bot, std::string_view command, std::string& answer) = 0;
};

/// What a call through the bridge may know of its caller; a setting of the calling thread.
struct CallSettings {
  CallerFolder folder = {};
  bool terminal = false;  ///< the caller's output is a console
};

/// The present thread's settings: empty outside a ScopedCallSettings.
[[nodiscard]] const CallSettings& CurrentCallSettings();

/// Puts settings in force on this thread and restores the former ones at scope end.
class ScopedCallSettings {
 public:
  explicit ScopedCallSettings(CallSettings settings);
  ScopedCallSettings(const ScopedCallSettings&) = delete;
  ScopedCallSettings& operator=(const ScopedCallSettings&) = delete;
  ~ScopedCallSettings();

 private:
  CallSettings saved_;
};

}  // namespace mrb::server
