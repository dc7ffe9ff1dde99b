#include "server/terminals/terminal_session.h"

#include <algorithm>
#include <array>
#include <utility>

#include "common/process_notes.h"

namespace mrb::server {
namespace {

constexpr std::size_t kPiece = 4096;
constexpr std::chrono::seconds kPatienceWithTheEnd{5};
constexpr std::chrono::seconds kPatienceWithAPrompt{1};

}  // namespace

class TerminalSession::Turn {
 public:
  explicit Turn(TerminalSession& session) : session_(session) { session_.turns_.push_back(this); }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;
  ~Turn() {
    session_.scanner_ = session_.turns_.front() == this ? nullptr : session_.scanner_;
    std::erase(session_.turns_, this);
    session_.changed_.notify_all();
  }
  [[nodiscard]] bool has_come() const { return session_.turns_.front() == this; }

 private:
  TerminalSession& session_;  // its mutex is held whenever this is made, asked or gone
};

TerminalSession::TerminalSession(std::string id, std::string command_line,
                                 std::unique_ptr<platform::PseudoConsole> console,
                                 TerminalPoster post)
    : id_(std::move(id)),
      command_line_(std::move(command_line)),
      console_(std::move(console)),
      post_(std::move(post)) {}

std::string TerminalSession::name() const {
  const std::scoped_lock lock(mutex_);
  return name_;
}

void TerminalSession::set_name(std::string name) {
  const std::scoped_lock lock(mutex_);
  name_ = std::move(name);
}

std::string TerminalSession::shared_bot() const {
  const std::scoped_lock lock(mutex_);
  return shared_bot_;
}

void TerminalSession::share_with(std::string bot) {
  const std::scoped_lock lock(mutex_);
  shared_bot_ = std::move(bot);
}

void TerminalSession::run() {
  std::array<char, kPiece> piece;  // NOLINT: filled by the system
  for (;;) {
    const auto got = console_->read(piece.data(), piece.size());
    if (!got || *got == 0) break;
    append({piece.data(), *got});
  }
  finish(console_->wait_for_exit());
}

void TerminalSession::append(std::string_view piece) {
  std::string bot;
  {
    const std::scoped_lock lock(mutex_);
    output_.append(piece);
    if (scanner_ != nullptr) scanner_->feed(piece);
    // Who waits for something else is not woken by each piece of a flood.
    if (output_waiters_ > 0 || (scanner_ != nullptr && scanner_->end())) changed_.notify_all();
    if (post_) bot = shared_bot_;
  }
  if (!bot.empty()) post_({bot, id_, piece});
}

void TerminalSession::finish(const platform::ConsoleEnd& end) {
  const std::string last = StillRunningNotes(end.left) + "\n[session ended, exit " +
                           std::to_string(end.exit_code) + "]\n";
  std::string bot;
  {
    // At once, so that nobody sees the end without its line.
    const std::scoped_lock lock(mutex_);
    exit_code_ = end.exit_code;
    alive_ = false;
    program_output_ = output_.total();
    output_.append(last);
    changed_.notify_all();
    if (post_) bot = shared_bot_;
  }
  if (!bot.empty()) post_({bot, id_, last});
}

bool TerminalSession::has_output_since(std::uint64_t since) const {
  const std::string_view data = output_.between(since, output_.total());
  return !alive_ || data.size() > UnfinishedUtf8(data);
}

TerminalSession::Output TerminalSession::read(std::uint64_t since, Milliseconds wait) {
  std::unique_lock lock(mutex_);
  if (wait.count() > 0) {
    ++output_waiters_;
    changed_.wait_for(lock, wait, [&] { return has_output_since(since); });
    --output_waiters_;
  }
  const std::string_view data = output_.between(since, output_.total());
  const std::size_t unfinished = alive_ ? UnfinishedUtf8(data) : 0;
  return {output_.total() - unfinished, alive_,
          std::string(data.substr(0, data.size() - unfinished))};
}

Status TerminalSession::send(std::string_view text, bool raw) {
  if (!alive_) return Fail(ErrorKind::kClosed, "the session has ended");
  if (raw || text.ends_with('\n') || text.ends_with('\r')) return console_->write(text);
  return console_->write(std::string(text) + '\r');
}

Status TerminalSession::resize(platform::ConsoleSize size) {
  if (!alive_) return Fail(ErrorKind::kClosed, "the session has ended");
  return console_->resize(size);
}

TerminalSession::ExecResult TerminalSession::exec(std::string_view command, std::string_view shell,
                                                  Milliseconds timeout) {
  const auto deadline =
      Clock::now() + (timeout.count() == 0 ? kMaxExec : std::min(timeout, kMaxExec));
  const std::string marker = NewMarker();
  const ExecLine line =
      MakeExecLine(ShellKindOf(shell, command_line_), command_line_, command, marker);
  std::unique_lock lock(mutex_);
  const Turn turn(*this);
  changed_.wait_until(lock, deadline, [&] { return turn.has_come() || !alive_; });
  if (!alive_) return {};
  if (!turn.has_come()) return {ExecResult::How::kTimedOut, {}, 0};

  await_prompt(lock, deadline);
  const std::uint64_t begin = output_.total();
  MarkerScanner scanner(marker, begin);
  scanner_ = &scanner;
  lock.unlock();
  // Not under the lock: the terminal may take keys only while its output is being read.
  const Status sent = send(line.text, false);
  lock.lock();
  if (!sent && alive_) {
    return {ExecResult::How::kTimedOut,
            CutExecOutput(output_, begin, output_.total(), scanner, line), 0};
  }
  return await_marker(lock, scanner, begin, line, deadline);
}

/// What is typed before the prompt is there is echoed in front of it, and the prompt would then
/// seem to be output. Who once had no prompt to show is not waited for again.
void TerminalSession::await_prompt(std::unique_lock<std::mutex>& lock, Clock::time_point deadline) {
  if (!shows_prompts_) return;
  ++output_waiters_;
  shows_prompts_ =
      changed_.wait_until(lock, std::min(deadline, Clock::now() + kPatienceWithAPrompt),
                          [this] { return !alive_ || shows_something_new(); });
  --output_waiters_;
}

/// Whether anything came since the start or, later, behind the last marker's line.
bool TerminalSession::shows_something_new() const {
  const std::string_view shown = output_.between(last_marker_, output_.total());
  return last_marker_ == 0 ? !shown.empty() : shown.find('\n') < shown.size() - 1;
}

TerminalSession::ExecResult TerminalSession::await_marker(std::unique_lock<std::mutex>& lock,
                                                          MarkerScanner& scanner,
                                                          std::uint64_t begin, const ExecLine& line,
                                                          Clock::time_point deadline) {
  changed_.wait_until(lock, deadline, [&] { return scanner.end() || !alive_; });
  ExecResult result;
  const std::uint64_t end = alive_ ? output_.total() : program_output_;
  result.output = CutExecOutput(output_, begin, end, scanner, line);
  if (const auto& found = scanner.end()) {
    last_marker_ = found->begin;
    result.exit_code = found->status;
  } else {
    result.exit_code = exit_code_;
  }
  const bool done = scanner.end().has_value() || !alive_;
  result.how = done ? ExecResult::How::kDone : ExecResult::How::kTimedOut;
  return result;
}

void TerminalSession::end() {
  console_->end();
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, kPatienceWithTheEnd, [this] { return !alive_; });
}

}  // namespace mrb::server
