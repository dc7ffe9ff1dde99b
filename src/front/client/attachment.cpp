#include "front/client/attachment.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <thread>
#include <utility>

#include "common/json_scan.h"
#include "common/text.h"
#include "common/url.h"
#include "front/client/detach_keys.h"
#include "platform/console.h"

namespace mrb::front {
namespace {

using std::chrono::milliseconds;

constexpr std::string_view kUnreachable = "\n[mterm: server unreachable — detaching]\n";

constexpr milliseconds kBetweenPolls{80};
constexpr int kRawWait = 250;  // milliseconds that the resident holds a read without output
constexpr milliseconds kInputWait{100};
constexpr milliseconds kLastKeys{400};    // until what was typed is delivered, when the user leaves
constexpr milliseconds kLastOutput{400};  // and until what came of it is shown

}  // namespace

/// The thread that shows the session's output, for as long as this lives and a little longer.
class Attachment::Reader {
 public:
  Reader(Attachment& attachment, int wait)
      : attachment_(attachment), thread_([this, wait] {
          attachment_.show_output(wait);
          const std::scoped_lock lock(mutex_);
          is_done_ = true;
          done_.notify_all();
        }) {}
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  ~Reader() {
    attachment_.active_ = false;
    {
      std::unique_lock lock(mutex_);
      done_.wait_for(lock, kLastOutput, [this] { return is_done_; });
    }
    attachment_.requests_.give_up();
    thread_.join();
  }

 private:
  Attachment& attachment_;
  std::mutex mutex_;
  std::condition_variable done_;
  bool is_done_ = false;  // guarded by mutex_
  std::thread thread_;    // last: it uses all of them
};

std::string Attachment::target(std::string_view route, std::string_view more) const {
  return "POST /term/" + std::string(route) + "?id=" + EncodeForm(id_) + std::string(more);
}

bool Attachment::type(std::string_view text, std::string_view more) {
  if (requests_.ask(target("send", more), text)) return true;
  if (active_) say_last(kUnreachable);
  return false;
}

void Attachment::say(std::string_view text) {
  const std::scoped_lock lock(output_mutex_);
  platform::WriteStdout(text);
}

/// In front of what the user is to see when the program's own screen is gone.
void Attachment::say_last(std::string_view text) {
  const std::scoped_lock lock(output_mutex_);
  if (is_raw_) platform::WriteStdout(std::exchange(modes_, {}).undo());
  platform::WriteStdout(text);
}

/// What was typed before it is delivered first, as far as the resident takes it.
void Attachment::detach() {
  const bool done = typing_.await_done(kLastKeys);
  active_ = false;
  if (typing_.has_failed()) return;  // which was said
  farewell_ = done ? "\n[detached — " + id_ + " still running; reattach: mb mterm " + id_ + "]\n"
                   : std::string(kUnreachable);
}

/// One poll. False once the session has ended.
bool Attachment::show_next_output(std::uint64_t& since, int wait) {
  std::string read = "GET /term/read?id=" + EncodeForm(id_) + "&since=" + std::to_string(since);
  if (wait > 0) read += "&wait=" + std::to_string(wait);
  const auto answer = requests_.ask(read);
  if (!answer) {
    if (active_) std::this_thread::sleep_for(kBetweenPolls);
    return true;  // the resident may come back, and the user may wait for it
  }
  const auto document = JsonDocument::scan(*answer);
  const JsonValue root = document ? document->root() : JsonValue();
  if (const std::string data = root.find("data").text(); !data.empty()) {
    const std::scoped_lock lock(output_mutex_);
    modes_.watch(data);
    platform::WriteStdout(data);
  }
  const std::int64_t total = root.find("len").integer().value_or(0);
  since = std::max(since, static_cast<std::uint64_t>(std::max<std::int64_t>(total, 0)));
  return root.find("alive").boolean().value_or(false);
}

void Attachment::show_output(int wait) {
  std::uint64_t since = 0;
  while (active_) {
    if (!show_next_output(since, wait)) {
      say_last("\n[session ended]\n");
      ended_ = true;
      return;
    }
    if (wait == 0) std::this_thread::sleep_for(kBetweenPolls);
  }
  // What came of the last keys is shown before the client leaves.
  static_cast<void>(show_next_output(since, 0));
}

bool Attachment::close() {
  const auto closed = requests_.ask(target("close"));
  say_last(closed ? "\n[closed " + id_ + "]\n" : std::string(kUnreachable));
  return false;
}

/// One line of the user, delivered or done in its turn. False: nothing comes behind it.
bool Attachment::take_line(std::string line) {
  constexpr std::string_view kName = "::name ";
  const auto print = [this](const std::string& method_and_target) {
    const auto answer = requests_.ask(method_and_target);
    say(answer ? *answer + "\n" : "mterm: server unreachable\n");
    return true;
  };
  if (line == "::detach" || line == "::quit") {
    detach();
    return false;
  }
  if (line == "::close") {
    typing_.add([this] { return close(); });
  } else if (line == "::list") {
    typing_.add([print] { return print("GET /term/list"); });
  } else if (line.starts_with(kName)) {
    const std::string alias(Trim(std::string_view(line).substr(kName.size())));
    typing_.add(
        [this, print, alias] { return print(target("name", "&name=" + EncodeForm(alias))); });
  } else {
    typing_.add([this, text = std::move(line)] { return type(text, {}); });
  }
  return true;
}

void Attachment::read_lines() {
  while (!is_over()) {
    if (!platform::AwaitStdin(kInputWait)) continue;
    const auto line = platform::ReadStdinLine();
    if (!line) typing_.await_done();  // a script's lines are all delivered
    if (!line || !take_line(std::string(TrimLineEnd(*line)))) return;
  }
}

void Attachment::run_lines() {
  {
    const Reader reader(*this, 0);
    read_lines();
  }
  say_last(farewell_);
}

void Attachment::follow_size(platform::ConsoleSize& known) {
  const auto size = platform::StdoutConsoleSize();
  if (!size || *size == known) return;
  known = *size;
  typing_.add([this, asked = *size] {
    static_cast<void>(requests_.ask(target("resize", "&cols=" + std::to_string(asked.columns) +
                                                         "&rows=" + std::to_string(asked.rows))));
    return true;
  });
}

void Attachment::read_keys(platform::RawConsole& console) {
  platform::ConsoleSize size{0, 0};
  DetachKeys watch;
  while (!is_over()) {
    follow_size(size);
    const auto keys = console.keys(kInputWait);
    if (!keys) return;
    DetachKeys::Passed passed = watch.pass(*keys);
    if (!passed.keys.empty()) {
      typing_.add([this, text = std::move(passed.keys)] { return type(text, "&raw=1"); });
    }
    if (passed.detach) return detach();
  }
}

void Attachment::run_keys(platform::RawConsole& console) {
  is_raw_ = true;
  {
    const Reader reader(*this, kRawWait);
    read_keys(console);
  }
  say_last(farewell_);
}

}  // namespace mrb::front
