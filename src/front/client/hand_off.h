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

/// Has the resident run one command line and gives the answer out in pieces, as it comes. False
/// when it was certainly not delivered: no connection, or one that ended before a byte of answer.
/// An answer that is slow is waited for, with a note on a console's standard error, so that no
/// command ever runs twice.
[[nodiscard]] bool PostConsoleExec(std::int32_t port, std::string_view command_line,
                                   const std::function<void(std::string_view)>& answer);

/// The X-Mrb-Cwd header line with its line end; empty when a header cannot tell the working
/// directory.
[[nodiscard]] std::string FolderHeader();

/// Delivers a command line, or every line of standard input when it is empty, and prints the
/// answers. False when nothing was delivered; a line of standard input that was not is put back
/// into `lines`.
[[nodiscard]] bool ExecViaResident(std::int32_t port, std::string_view command_line,
                                   StdinLines& lines);

}  // namespace mrb::front
