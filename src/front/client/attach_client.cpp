#include "front/client/attach_client.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "common/json_scan.h"
#include "common/text.h"
#include "common/url.h"
#include "front/client/terminal_requests.h"
#include "platform/console.h"

namespace mrb::front {
namespace {

using Words = std::span<const std::string>;

constexpr std::string_view kUsage =
    "usage: mb mterm [-r] <session or host>     attach; -r passes every key, Ctrl-\\ d leaves\n"
    "       mb mterm [-r] run <command line>    open a new session and attach\n"
    "       mb mterm list\n"
    "       mb mterm name <session> <alias>\n"
    "       mb mterm host save <name> <command line> | host save <name> --from <session>\n"
    "       mb mterm host list | host rm <name>\n";

std::string JoinWords(Words words) {
  return Join({words.begin(), words.end()}, " ");
}

bool SaysOk(std::string_view answer) {
  return answer.find("\"ok\":true") != std::string_view::npos;
}

/// One run of the client.
class Client {
 public:
  Client(const AttachOptions& options, bool raw) : options_(options), raw_(raw) {}

  int list(Words /*words*/) { return manage("GET /term/list"); }
  int host_list(Words /*words*/) { return manage("GET /term/host/list"); }

  int host_save(Words words) {
    const std::string save = "POST /term/host/save?name=" + EncodeForm(words[0]);
    if (words.size() == 3 && words[1] == "--from") {
      return manage(save + "&from=" + EncodeForm(words[2]));
    }
    return manage(save, JoinWords(words.subspan(1)));
  }

  int host_remove(Words words) {
    return manage("POST /term/host/remove?name=" + EncodeForm(words[0]));
  }

  int name(Words words) {
    const auto answer =
        ask("POST /term/name?id=" + EncodeForm(words[0]) + "&name=" + EncodeForm(words[1]));
    if (answer && answer->find("no such session") != std::string::npos) {
      return complain("mterm: no such session " + words[0] + " (mb mterm list)\n");
    }
    return print(answer);
  }

  int run(Words words) { return open_and_attach(JoinWords(words)); }

  int open_and_attach(const std::string& command_line) {
    const auto answer = ask("POST /term/open", command_line);
    if (!answer) return complain("mterm: server unreachable\n");
    if (!SaysOk(*answer)) return complain("mterm: open failed: " + *answer + "\n");
    return attach(id_of(*answer));
  }

  int attach_target(const std::string& target) {
    if (auto id = find_session(target)) return attach(*id);
    if (is_host(target)) {
      const auto answer = ask("POST /term/open?host=" + EncodeForm(target));
      if (answer && SaysOk(*answer)) return attach(id_of(*answer));
    }
    return complain("mterm: no live session or saved host '" + target +
                    "' (mb mterm list; mb mterm host list)\n");
  }

 private:
  [[nodiscard]] Result<std::string> ask(const std::string& method_and_target,
                                        std::string_view body = {}) const {
    return TerminalRequests(options_).ask(method_and_target, body);
  }

  static int complain(const std::string& text) {
    platform::WriteStderr(text);
    return 1;
  }

  static int print(const Result<std::string>& answer) {
    if (!answer) return complain("mterm: server unreachable\n");
    platform::WriteStdout(*answer + "\n");
    return SaysOk(*answer) ? 0 : 1;
  }

  int manage(const std::string& method_and_target, std::string_view body = {}) {
    return print(ask(method_and_target, body));
  }

  static std::string id_of(std::string_view answer) {
    const auto document = JsonDocument::scan(answer);
    return document ? document->root().find("id").text() : std::string();
  }

  /// The id of the first live session that has the target as its id or name.
  [[nodiscard]] std::optional<std::string> find_session(const std::string& target) const {
    const auto answer = ask("GET /term/list");
    if (!answer) return std::nullopt;
    const auto document = JsonDocument::scan(*answer);
    if (!document) return std::nullopt;
    for (const JsonValue& session : document->root().find("sessions").elements()) {
      std::string id = session.find("id").text();
      const bool named = id == target || session.find("name").text() == target;
      if (named && session.find("alive").boolean() == true) return id;
    }
    return std::nullopt;
  }

  [[nodiscard]] bool is_host(const std::string& target) const {
    const auto answer = ask("GET /term/host/list");
    if (!answer) return false;
    const auto document = JsonDocument::scan(*answer);
    if (!document) return false;
    return std::ranges::any_of(
        document->root().find("hosts").elements(),
        [&](const JsonValue& host) { return host.find("name").text() == target; });
  }

  int attach(const std::string& id) {
    Attachment attachment(options_, id);
    const std::string banner = "[mterm " + id +
                               " attached — ::detach leaves it running, ::close kills it, "
                               "::name <alias> names it, ::list lists sessions]\n";
    if (!raw_) {
      platform::WriteStdout(banner);
      attachment.run_lines();
      return 0;
    }
    auto console = platform::RawConsole::enter();
    if (!console) return complain("mterm: -r needs a console: " + console.error().text + "\n");
    platform::WriteStdout("[mterm " + id + " attached — Ctrl-\\ d leaves it running]\r\n");
    attachment.run_keys(*console);
    return 0;
  }

  const AttachOptions& options_;
  const bool raw_;
};

/// One form: its first words, and how many have to follow them at least.
struct Form {
  std::array<std::string_view, 2> words;  ///< the second may be empty
  std::size_t least;
  int (Client::*run)(Words);
};

constexpr std::array kForms{
    Form{{"list", ""}, 0, &Client::list},
    Form{{"ls", ""}, 0, &Client::list},
    Form{{"host", "save"}, 1, &Client::host_save},
    Form{{"host", "list"}, 0, &Client::host_list},
    Form{{"host", "rm"}, 1, &Client::host_remove},
    Form{{"name", ""}, 2, &Client::name},
    Form{{"run", ""}, 1, &Client::run},
};

int ShowUsage() {
  platform::WriteStderr(kUsage);
  return 1;
}

}  // namespace

int RunTerminalClient(const std::vector<std::string>& words, const AttachOptions& options) {
  Words rest(words);
  const bool raw = !rest.empty() && rest[0] == "-r";
  if (raw) rest = rest.subspan(1);
  Client client(options, raw);
  if (rest.empty()) return raw ? ShowUsage() : client.list(rest);
  for (const Form& form : kForms) {
    const std::size_t given = form.words[1].empty() ? 1 : 2;
    if (rest[0] != form.words[0]) continue;
    if (given == 2 && (rest.size() < 2 || rest[1] != form.words[1])) continue;
    if (rest.size() < given + form.least) return ShowUsage();
    return (client.*form.run)(rest.subspan(given));
  }
  return rest.size() == 1 && rest[0] != "host" ? client.attach_target(rest[0]) : ShowUsage();
}

int RunNewTerminal(const std::string& command_line, const AttachOptions& options) {
  const bool raw = platform::StdinIsConsole() && platform::StdoutIsConsole();
  return Client(options, raw).open_and_attach(command_line);
}

}  // namespace mrb::front
