#include "front/client/attachment.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "common/json_scan.h"
#include "common/text.h"
#include "common/url.h"
#include "front/client/detach_keys.h"
#include "platform/console.h"
#include "server/http/loopback_request.h"

namespace mrb::front {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kBetweenPolls{80};
constexpr int kRawWait = 250;  // milliseconds that the resident holds a read without output
constexpr milliseconds kInputWait{100};

}  // namespace

Result<std::string> Attachment::ask(const std::string& method_and_target,
                                    std::string_view body) const {
  return server::AskResident(options_.port, {method_and_target, {}, options_.headers, body});
}

std::string Attachment::target(std::string_view route, std::string_view more) const {
  return "POST /term/" + std::string(route) + "?id=" + EncodeForm(id_) + std::string(more);
}

bool Attachment::send(std::string_view text, std::string_view more) {
  if (ask(target("send", more), text)) return true;
  say("\n[mterm: server unreachable — detaching]\n");
  return false;
}

void Attachment::say(std::string_view text) {
  const std::scoped_lock lock(output_mutex_);
  platform::WriteStdout(text);
}

void Attachment::say_detached() {
  say("\n[detached — " + id_ + " still running; reattach: mb mterm " + id_ + "]\n");
}

/// One poll. False once the session has ended.
bool Attachment::show_next_output(std::uint64_t& since, int wait) {
  std::string read = "GET /term/read?id=" + EncodeForm(id_) + "&since=" + std::to_string(since);
  if (wait > 0) read += "&wait=" + std::to_string(wait);
  const auto answer = ask(read);
  if (!answer) {
    std::this_thread::sleep_for(kBetweenPolls);
    return true;  // the resident may come back, and the user may wait for it
  }
  const auto document = JsonDocument::scan(*answer);
  const JsonValue root = document ? document->root() : JsonValue();
  if (const std::string data = root.find("data").text(); !data.empty()) say(data);
  const std::int64_t total = root.find("len").integer().value_or(0);
  since = std::max(since, static_cast<std::uint64_t>(std::max<std::int64_t>(total, 0)));
  return root.find("alive").boolean().value_or(false);
}

void Attachment::show_output(int wait) {
  std::uint64_t since = 0;
  while (active_) {
    if (!show_next_output(since, wait)) {
      say("\n[session ended]\n");
      ended_ = true;
      return;
    }
    if (wait == 0) std::this_thread::sleep_for(kBetweenPolls);
  }
  // What came of the last keys is shown before the client leaves.
  static_cast<void>(show_next_output(since, 0));
}

Attachment::Next Attachment::take_line(std::string_view line) {
  constexpr std::string_view kName = "::name ";
  const auto print = [this](const Result<std::string>& answer) {
    say(answer ? *answer + "\n" : "mterm: server unreachable\n");
  };
  if (line == "::detach" || line == "::quit") {
    say_detached();
    return Next::kLeave;
  }
  if (line == "::close") {
    const auto closed = ask(target("close"));
    say(closed ? "\n[closed " + id_ + "]\n" : "\n[mterm: server unreachable — detaching]\n");
    return Next::kLeave;
  }
  if (line == "::list") {
    print(ask("GET /term/list"));
  } else if (line.starts_with(kName)) {
    print(ask(target("name", "&name=" + EncodeForm(Trim(line.substr(kName.size()))))));
  } else {
    return send(line) ? Next::kGoOn : Next::kLeave;
  }
  return Next::kGoOn;
}

void Attachment::run_lines() {
  std::thread reader([this] { show_output(0); });
  while (!ended_) {
    if (!platform::AwaitStdin(kInputWait)) continue;
    const auto line = platform::ReadStdinLine();
    if (!line || take_line(TrimLineEnd(*line)) == Next::kLeave) break;
  }
  active_ = false;
  reader.join();
}

Attachment::Next Attachment::take_keys(std::string_view keys, bool detach) {
  if (!keys.empty() && !send(keys, "&raw=1")) return Next::kLeave;
  if (detach) say_detached();
  return detach ? Next::kLeave : Next::kGoOn;
}

void Attachment::follow_size(platform::ConsoleSize& known) {
  const auto size = platform::StdoutConsoleSize();
  if (!size || *size == known) return;
  known = *size;
  static_cast<void>(ask(target(
      "resize", "&cols=" + std::to_string(size->columns) + "&rows=" + std::to_string(size->rows))));
}

void Attachment::run_keys(platform::RawConsole& console) {
  platform::ConsoleSize size{0, 0};
  follow_size(size);
  std::thread reader([this] { show_output(kRawWait); });
  DetachKeys watch;
  while (!ended_) {
    const auto keys = console.keys(kInputWait);
    if (!keys) break;
    const DetachKeys::Passed passed = watch.pass(*keys);
    if (take_keys(passed.keys, passed.detach) == Next::kLeave) break;
    follow_size(size);
  }
  active_ = false;
  reader.join();
}

}  // namespace mrb::front
