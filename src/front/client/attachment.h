#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "common/error.h"
#include "platform/console.h"
#include "platform/pseudo_console.h"

namespace mrb::front {

/// The client's side of terminals: it drives the routes under "/term/" of the resident of a port.
struct AttachOptions {
  std::int32_t port = 9999;
  std::string headers;  ///< sent with every request: whole lines with their line ends
};

/// This console on one session: a thread that shows what the terminal shows, and the keys or lines
/// of the user on the way back.
class Attachment {
 public:
  Attachment(const AttachOptions& options, std::string id)
      : options_(options), id_(std::move(id)) {}

  /// Whole lines; those that begin with "::" are for the client. Returns when the user leaves, the
  /// input or the session ends.
  void run_lines();

  /// Every key, through a console that is raw already; the terminal takes on its size.
  void run_keys(platform::RawConsole& console);

 private:
  enum class Next : std::uint8_t { kGoOn, kLeave };

  void show_output(int wait);
  bool show_next_output(std::uint64_t& since, int wait);
  Next take_line(std::string_view line);
  Next take_keys(std::string_view keys, bool detach);
  void follow_size(platform::ConsoleSize& known);

  [[nodiscard]] Result<std::string> ask(const std::string& method_and_target,
                                        std::string_view body = {}) const;
  [[nodiscard]] std::string target(std::string_view route, std::string_view more = {}) const;
  bool send(std::string_view text, std::string_view more = {});
  void say(std::string_view text);
  void say_detached();

  const AttachOptions& options_;
  const std::string id_;
  std::mutex output_mutex_;  // so that messages do not land within the terminal's output
  std::atomic<bool> active_{true};
  std::atomic<bool> ended_{false};
};

}  // namespace mrb::front
