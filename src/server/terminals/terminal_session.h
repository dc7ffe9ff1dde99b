#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/pseudo_console.h"
#include "server/terminals/exec_command.h"
#include "server/terminals/marker_scanner.h"
#include "server/terminals/terminal_output.h"

namespace mrb::server {

/// A piece of a shared terminal's output, for the chat of the bot it is shared with.
struct TerminalPost {
  std::string_view bot;
  std::string_view terminal;  ///< the session's id
  std::string_view text;
};
using TerminalPoster = std::function<void(const TerminalPost&)>;

/// One terminal with its program and the last of its output. Stays valid as long as anybody holds
/// it, also when it has ended or was closed. Thread-safe.
class TerminalSession {
 public:
  using Milliseconds = std::chrono::milliseconds;

  /// `post` may be empty; it is called on the reading thread.
  TerminalSession(std::string id, std::string command_line,
                  std::unique_ptr<platform::PseudoConsole> console, TerminalPoster post);

  [[nodiscard]] const std::string& id() const { return id_; }
  [[nodiscard]] const std::string& command_line() const { return command_line_; }
  [[nodiscard]] bool alive() const { return alive_; }
  [[nodiscard]] std::string name() const;
  void set_name(std::string name);
  [[nodiscard]] std::string shared_bot() const;
  void share_with(std::string bot);

  /// Collects the output until the program is gone. One thread, once.
  void run();

  struct Output {
    std::uint64_t total = 0;  ///< what the next read passes
    bool alive = false;
    std::string data;
  };
  /// What came since byte `since`, as far as it is still held. Waits up to `wait` while there is
  /// nothing. A character of which only a part has come is left for the next read.
  [[nodiscard]] Output read(std::uint64_t since, Milliseconds wait);

  /// Types a text: as it is, or as one line with Enter behind it. The error is kClosed for a
  /// session that has ended.
  [[nodiscard]] Status send(std::string_view text, bool raw);
  [[nodiscard]] Status resize(platform::ConsoleSize size);

  struct ExecResult {
    enum class How : std::uint8_t { kDone, kTimedOut, kEnded };
    How how = How::kEnded;
    std::string output;
    std::int64_t exit_code = 0;
  };
  static constexpr Milliseconds kMaxExec{600'000};
  /// Types a command and waits for its end. Calls are served one after the other; `timeout`, 0 for
  /// the longest and never more than that, covers the wait for the turn. A command that ends the
  /// session is done with the session's exit code; kEnded is for a session that had ended before.
  [[nodiscard]] ExecResult exec(std::string_view command, std::string_view shell,
                                Milliseconds timeout);

  /// Ends the program with everything it started, and waits for that, some seconds at most.
  void end();

 private:
  using Clock = std::chrono::steady_clock;
  /// The place in the queue of those who exec.
  class Turn;

  void append(std::string_view piece);
  void finish(const platform::ConsoleEnd& end);
  [[nodiscard]] bool has_output_since(std::uint64_t since) const;
  [[nodiscard]] bool shows_something_new() const;
  void await_prompt(std::unique_lock<std::mutex>& lock, Clock::time_point deadline);
  ExecResult await_marker(std::unique_lock<std::mutex>& lock, MarkerScanner& scanner,
                          std::uint64_t begin, const ExecLine& line, Clock::time_point deadline);

  const std::string id_;
  const std::string command_line_;
  const std::unique_ptr<platform::PseudoConsole> console_;
  const TerminalPoster post_;
  std::atomic<bool> alive_{true};  // changed under mutex_

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  // All guarded by mutex_:
  TerminalOutput output_;
  std::string name_;
  std::string shared_bot_;
  std::uint32_t exit_code_ = 0;       // once it has ended; so is the next
  std::uint64_t program_output_ = 0;  // the total without the session-ended line
  MarkerScanner* scanner_ = nullptr;  // of the exec that is being served
  std::uint64_t last_marker_ = 0;     // where the last exec found its own; 0: none has
  bool shows_prompts_ = true;         // as far as is known
  std::size_t output_waiters_ = 0;    // those whom each piece of output concerns
  std::deque<const Turn*> turns_;     // the first is being served
};

}  // namespace mrb::server
