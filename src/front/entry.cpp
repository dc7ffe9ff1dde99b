#include "front/entry.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "common/version.h"
#include "front/client/attach_client.h"
#include "front/client/caller.h"
#include "front/client/command_line.h"
#include "front/client/console_io.h"
#include "front/client/hand_off.h"
#include "front/client/mcp_bridge.h"
#include "front/homes.h"
#include "front/interpreter.h"
#include "front/local_run.h"
#include "front/mcp_local.h"
#include "front/options.h"
#include "front/resident.h"
#include "front/usage.h"
#include "platform/console.h"
#include "server/http/call_table.h"
#include "server/http/interpreter_bridge.h"

namespace mrb::front {
namespace {

using platform::WriteStderr;
using platform::WriteStdout;

/// Words that are a tool of their own, matched before any option is looked at.
struct EarlyVerb {
  std::string_view name;
  bool alone;  ///< only as the single argument
};

constexpr std::array kEarlyVerbs{
    EarlyVerb{"claude", true},    EarlyVerb{"claude-setup", true}, EarlyVerb{"env-check", true},
    EarlyVerb{"env-setup", true}, EarlyVerb{"skillify", true},     EarlyVerb{"remotebot", false},
    EarlyVerb{"collab", false},
};

bool IsEarlyVerb(const std::vector<std::string>& arguments) {
  return arguments.size() > 1 && std::ranges::any_of(kEarlyVerbs, [&](const EarlyVerb& verb) {
           return arguments[1] == verb.name && (!verb.alone || arguments.size() == 2);
         });
}

int Unavailable(std::string_view verb) {
  WriteStderr(NotInThisBuild(verb) + "\n");
  return 1;
}

constexpr int kLostStatus = 3;

/// Whether the line ran, or may have: it must not be run again.
bool WasBegun(Delivery delivery) {
  return delivery == Delivery::kAnswered || delivery == Delivery::kLost;
}

int StatusOf(Delivery delivery) {
  return delivery == Delivery::kLost ? kLostStatus : 0;
}

ResidentStart StartOf(const Options& options) {
  return {.data_home_override = options.data_home_override, .claim_homes = [&options] {
            return ClaimHomes(ResolveHomes(options.data_home_override)).has_value();
          }};
}

bool BringUp(const Options& options) {
  if (EnsureResident(options.port, StartOf(options))) return true;
  if (!ClaimHomesOrSay(ResolveHomes(options.data_home_override))) return false;
  WriteStderr("Mirebolt: couldn't bring up the engine on port " + std::to_string(options.port) +
              "\n");
  return false;
}

/// `terminal` without a shell's name: the terminal page.
int OpenTerminalPage(const Options& options) {
  if (!BringUp(options)) return 1;
  ShowPage(options.port, "/ui/term.html");
  return 0;
}

AttachOptions AttachOptionsOf(const Options& options) {
  return {.port = options.port, .headers = CallerHeaders(options.data_home_override)};
}

/// `terminal bash`: a new session of that shell, and this console on it.
int RunTerminal(const Options& options) {
  const std::string shell = options.arguments.size() > 2 ? options.arguments[2] : "";
  if (shell == "claude") return Unavailable("terminal " + shell);
  if (shell != "bash" && shell != "powershell") return OpenTerminalPage(options);
  if (!BringUp(options)) return 1;
  return RunNewTerminal(shell, AttachOptionsOf(options));
}

/// `mterm` and what follows it.
int RunMterm(const Options& options) {
  const ProbeResult probe = ProbeResident(options.port).result;
  if (probe == ProbeResult::NoListener || probe == ProbeResult::Foreign) {
    WriteStderr("mterm: no Mirebolt resident on port " + std::to_string(options.port) +
                " (start one: mb gui)\n");
    return 1;
  }
  return RunTerminalClient({options.arguments.begin() + 2, options.arguments.end()},
                           AttachOptionsOf(options));
}

Target TargetOf(const Options& options) {
  return {.port = options.port,
          .named_home = options.data_home_override,
          .call_table = server::CallTablePath(options.port,
                                              ResolveHomes(options.data_home_override).data_home)};
}

/// Delivers to a resident that is there, or to the next one when that is about to end.
Delivery Deliver(const Options& options, std::string_view line, StdinLines& lines) {
  const Target target = TargetOf(options);
  Delivery delivery = ExecViaResident(target, line, lines);
  if (delivery == Delivery::kGoingDown && AwaitQuiet(options.port) &&
      EnsureResident(options.port, StartOf(options))) {
    delivery = ExecViaResident(target, line, lines);
  }
  return delivery;
}

/// Has a resident started where none is, and delivers to it.
Delivery StartAndDeliver(const Options& options, std::string_view line, StdinLines& lines) {
  if (!EnsureResident(options.port, StartOf(options))) return Delivery::kNotDelivered;
  return Deliver(options, line, lines);
}

bool Evict(const Options& options) {
  return ClaimHomes(ResolveHomes(options.data_home_override)) && ShutdownResident(options.port);
}

/// Offers the line to whatever listens on the port.
Delivery HandOff(const Options& options, std::string_view line, StdinLines& lines) {
  const std::string port = std::to_string(options.port);
  const Probe probe = ProbeResident(options.port);
  if (probe.result == ProbeResult::Current) return Deliver(options, line, lines);
  if (probe.result == ProbeResult::NoListener) return StartAndDeliver(options, line, lines);
  const bool stale = probe.result == ProbeResult::OtherVersion && !probe.version.empty() &&
                     CompareVersions(kVersion, probe.version) > 0;
  if (!stale) {
    WriteStderr("Mirebolt: port " + port + " is held by " + probe.holder +
                " — running this command locally\n");
    return Delivery::kNotDelivered;
  }
  WriteStderr("Mirebolt: evicting stale resident " + probe.version + " on port " + port +
              ", starting " + std::string(kVersion) + "\n");
  const Delivery delivery =
      Evict(options) ? StartAndDeliver(options, line, lines) : Delivery::kNotDelivered;
  if (!WasBegun(delivery)) {
    WriteStderr("Mirebolt: could not take over port " + port + " — running this command locally\n");
  }
  return delivery;
}

/// A resident may have come up since the hand-off failed. Whoever is not it never gets the command.
Delivery LastHandOff(const Options& options, std::string_view line, StdinLines& lines) {
  if (ProbeResident(options.port).result != ProbeResult::Current) return Delivery::kNotDelivered;
  return Deliver(options, line, lines);
}

int RunHere(const Options& options, std::string_view line, StdinLines& lines) {
  if (line.empty() && platform::StdinIsConsole()) {
    WriteStdout(kUsage);
    return 0;
  }
  if (const auto delivery = LastHandOff(options, line, lines); WasBegun(delivery)) {
    return StatusOf(delivery);
  }
  const Homes homes = ResolveHomes(options.data_home_override);
  if (!ClaimHomesOrSay(homes)) return 1;
  const Interpreter interpreter(homes, &platform::WriteStderr, false);
  const Engine engine = interpreter.engine_for("cli");
  const server::ScopedCallSettings settings(
      {.folder = OwnFolder(), .terminal = platform::StdoutIsConsole()});
  return line.empty() ? RunStdinHere(engine, lines) : RunLineHere(engine, line);
}

int RunMcp(const Options& options) {
  if (EnsureResident(options.port, StartOf(options))) {
    return McpBridge(TargetOf(options), StartOf(options));
  }
  const Homes homes = ResolveHomes(options.data_home_override);
  return ClaimHomesOrSay(homes) ? RunMcpLocal(homes) : 1;
}

/// What the client answers itself, without a resident; nothing for a word that is none of these.
std::optional<std::string> OwnAnswer(const Options& options) {
  const auto has = [&](const auto& words) {
    return options.arguments.size() == 2 &&
           std::ranges::find(words, options.arguments[1]) != words.end();
  };
  if (has(kUsageWords)) return std::string(kUsage);
  if (has(kVersionWords)) return "Mirebolt " + std::string(kVersion) + "\n";
  return std::nullopt;
}

int RunRole(const Options& options, const std::string& line) {
  StdinLines lines;
  switch (const Role role = RoleOf(line)) {
    case Role::kMcp:
      return RunMcp(options);
    case Role::kVersionControl:
      return RunVersionControl(ResolveHomes(options.data_home_override));
    case Role::kBoot:
    case Role::kBootGui:
      return RunBoot(options, ResolveHomes(options.data_home_override), role == Role::kBootGui);
    case Role::kInteractive:
    case Role::kOrchestration:
      return RunInteractive(options, ResolveHomes(options.data_home_override), role, line);
    case Role::kCommand:
      break;
  }
  const bool usage_wanted = line.empty() && platform::StdinIsConsole();
  if (!usage_wanted) {
    if (const auto delivery = HandOff(options, line, lines); WasBegun(delivery)) {
      return StatusOf(delivery);
    }
  }
  return RunHere(options, line, lines);
}

}  // namespace

int Run(std::vector<std::string> arguments) {
  if (IsEarlyVerb(arguments)) return Unavailable(arguments[1]);
  auto options = ParseOptions(std::move(arguments));
  if (!options) {
    WriteStderr("Mirebolt: --port value '" + options.error().text +
                "' is not a valid port (must be 1-65535)\n");
    return 1;
  }
  if (!options->data_home_override.empty()) {
    options->data_home_override = ResolveHomes(options->data_home_override).data_home;
  }
  if (const auto answer = OwnAnswer(*options)) {
    WriteStdout(*answer);
    return 0;
  }
  const std::string first = options->arguments.size() > 1 ? options->arguments[1] : "";
  if (first == "mterm") return RunMterm(*options);
  if (first == "terminal") return RunTerminal(*options);
  return RunRole(*options, JoinCommandLine(options->arguments));
}

}  // namespace mrb::front
