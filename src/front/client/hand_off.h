#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "front/client/console_io.h"
#include "front/client/health_probe.h"

namespace mrb::front {

/// The client's side of the hand-off: finding, starting and ending the resident of a port on
/// 127.0.0.1 and having it run command lines. Each request is one HTTP/1.1 exchange on a connection
/// of its own. Failures are answered as false and told by the caller. Main thread only.

/// What a probe found.
struct Probe {
  ProbeResult result = ProbeResult::NoListener;
  std::string version;         ///< what a Mirebolt reports; may be empty
  std::string holder;          ///< what holds the port, for a notice, when that is not Current
  std::uint64_t listener = 0;  ///< the number of the listener that was asked; 0: not known
};

/// Tells what listens on the port within 1.2 s. A resident of another user is Foreign: it is told
/// nothing but that somebody asks.
[[nodiscard]] Probe ProbeResident(std::int32_t port);

/// How a resident is started where there is none.
struct ResidentStart {
  std::string data_home_override;     ///< handed to it, unless it is empty
  std::function<bool()> claim_homes;  ///< false: it would refuse its homes, so none is started
};

/// True when a Current resident answers on the port. Where nothing listens one is started and
/// waited for, some 8 s at most.
[[nodiscard]] bool EnsureResident(std::int32_t port, const ResidentStart& start);

/// Asks the resident to end; true once the port has gone quiet (some 6 s at most).
[[nodiscard]] bool ShutdownResident(std::int32_t port);

/// The resident that a client speaks to.
struct Target {
  std::int32_t port = 0;
  std::string named_home;  ///< the data home that the user named; empty: any
  std::string call_table;  ///< the path of the port's table of calls
};

/// What became of a command line that was handed over.
enum class Delivery {
  kAnswered,
  kNotDelivered,  ///< certainly not begun, and may be run elsewhere
  kGoingDown,     ///< the same: the resident is ending, and said so
  kLost,          ///< it was begun, and nobody will answer it any more: never to be repeated
};

/// Has the resident run one command line, once, and gives the answer out in pieces, as it comes. An
/// answer that is slow is waited for, with a note on a console's standard error. Where a connection
/// ends without an answer, the resident's table of calls tells whether the line was begun; where an
/// answer ends half way, what came was given out.
[[nodiscard]] Delivery PostConsoleExec(const Target& target, std::string_view command_line,
                                       const std::function<void(std::string_view)>& answer);

/// True once nothing listens on the port any more, as when a resident ends (some 6 s at most).
[[nodiscard]] bool AwaitQuiet(std::int32_t port);

/// Delivers a command line, or every line of standard input when it is empty, and prints the
/// answers; a lost one is told on standard error. A line of standard input that was not delivered
/// is put back into `lines` when the resident is ending, or when it is the first.
[[nodiscard]] Delivery ExecViaResident(const Target& target, std::string_view command_line,
                                       StdinLines& lines);

}  // namespace mrb::front
