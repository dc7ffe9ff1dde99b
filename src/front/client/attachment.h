#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "front/client/screen_modes.h"
#include "front/client/terminal_requests.h"
#include "front/client/work_queue.h"
#include "platform/console.h"
#include "platform/pseudo_console.h"

namespace mrb::front {

/// This console on one session: a thread that shows what the terminal shows, one that hands over
/// the keys or lines of the user, and the caller's, which is never held up by a resident that does
/// not answer: leaving takes less than a second.
class Attachment {
 public:
  Attachment(const AttachOptions& options, std::string id)
      : requests_(options), id_(std::move(id)) {}

  /// Whole lines; those that begin with "::" are for the client. Returns when the user leaves, the
  /// input or the session ends.
  void run_lines();

  /// Every key, through a console that is raw already; the terminal takes on its size.
  void run_keys(platform::RawConsole& console);

 private:
  class Reader;

  void show_output(int wait);
  bool show_next_output(std::uint64_t& since, int wait);
  void read_lines();
  void read_keys(platform::RawConsole& console);
  bool take_line(std::string line);
  bool close();
  bool type(std::string_view text, std::string_view more);
  void follow_size(platform::ConsoleSize& known);
  [[nodiscard]] bool is_over() { return ended_ || typing_.has_failed(); }
  void detach();

  [[nodiscard]] std::string target(std::string_view route, std::string_view more = {}) const;
  void say(std::string_view text);
  void say_last(std::string_view text);

  TerminalRequests requests_;
  const std::string id_;
  std::mutex output_mutex_;  // so that messages do not land within the terminal's output
  ScreenModes modes_;        // guarded by output_mutex_
  bool is_raw_ = false;      // set before there is a second thread
  std::string farewell_;     // said once nothing more is shown
  std::atomic<bool> active_{true};
  std::atomic<bool> ended_{false};
  WorkQueue typing_;  // last: its work uses all of them
};

}  // namespace mrb::front
