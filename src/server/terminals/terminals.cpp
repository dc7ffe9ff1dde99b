#include "server/terminals/terminals.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <thread>
#include <utility>

#include "common/answer.h"
#include "common/parallel.h"
#include "common/random_text.h"
#include "common/text.h"
#include "platform/process.h"
#include "server/terminals/terminal_command.h"

namespace mrb::server {
namespace {

constexpr std::size_t kMaxCommandLine = 32'000;  // what Windows takes, and a little less
constexpr std::size_t kEndersAtOnce = 8;

/// "t", the number, "-" and six characters that nobody can guess from an earlier one: an id that
/// was given out before a restart does not come again.
std::string NewId(std::uint64_t number) {
  constexpr std::string_view kDigits = "0123456789abcdefghijklmnopqrstuvwxyz";
  constexpr std::size_t kRandomDigits = 6;
  return "t" + std::to_string(number) + "-" + RandomText(kDigits, kRandomDigits);
}

/// The number in an id; nothing for what is none.
std::optional<std::uint64_t> NumberOf(std::string_view id) {
  if (!id.starts_with('t')) return std::nullopt;
  return ParseDecimal(id.substr(1, std::min(id.find('-'), id.size()) - 1));
}

std::string AttachNotice(std::string_view id) {
  std::string text =
      "TERMINAL ATTACHED. You may read this terminal's private output and drive it.\n"
      "To send one line without publishing it to chat, reply exactly:\n::term.send ";
  text.append(id).append(" <line>");
  return text;
}

/// The system's failures name what could not be started, which is what the user typed: that is for
/// the user alone.
std::string ReasonForLog(const Error& error) {
  if (error.system == 0) return error.text;
  return "a terminal could not be opened: system error " + std::to_string(error.system);
}

}  // namespace

Terminals::Terminals(TerminalOptions options)
    : options_(std::move(options)), hosts_(*options_.files, options_.saved_hosts) {}

Terminals::~Terminals() {
  end_all();
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return readers_ == 0 && opening_ == 0; });
}

void Terminals::tell(std::string_view what, const TerminalSession& session) const {
  if (options_.changed) options_.changed(what, session);
}

/// A number for a session that is being opened, counted as one from now on. Where there is no room
/// the one that ended first goes.
Result<std::uint64_t> Terminals::reserve() {
  const std::scoped_lock lock(mutex_);
  if (closing_) return Fail(ErrorKind::kClosed, "the resident is closing");
  if (sessions_.size() + opening_ >= options_.most) {
    const auto ended =
        std::ranges::find_if(sessions_, [](const auto& entry) { return !entry.second->alive(); });
    if (ended == sessions_.end()) return Fail(ErrorKind::kBusy, "too many sessions");
    sessions_.erase(ended);
  }
  ++opening_;
  return next_number_++;
}

/// The opening is over: the session, if there is one, goes into the table.
Status Terminals::enter(std::uint64_t number, const Result<SessionRef>& session) {
  const std::scoped_lock lock(mutex_);
  --opening_;
  changed_.notify_all();
  if (!session) return std::unexpected(session.error());
  if (closing_) return Fail(ErrorKind::kClosed, "the resident is closing");
  sessions_.emplace(number, *session);
  return {};
}

Result<Terminals::SessionRef> Terminals::open(std::string_view command_line,
                                              const std::string& folder, std::uint64_t columns,
                                              std::uint64_t rows) {
  std::string line = WithInteractiveFlag(command_line);
  if (line.empty()) line = WithInteractiveFlag(platform::DefaultShell());
  if (line.size() > kMaxCommandLine || line.find('\0') != std::string::npos) {
    return Fail(ErrorKind::kInvalidArgument, "no such command line");
  }
  const auto number = reserve();
  if (!number) return std::unexpected(number.error());
  auto console = platform::OpenPseudoConsole({line, folder, ClampSize(columns, rows)});
  const Result<SessionRef> session = console ? begin(*number, line, std::move(*console))
                                             : std::unexpected(std::move(console.error()));
  if (const Status entered = enter(*number, session); !entered) {
    if (session) (*session)->end();
    if (options_.log) options_.log("[term] " + ReasonForLog(entered.error()) + "\n");
    return std::unexpected(entered.error());
  }
  tell("opened", **session);
  return session;
}

Result<Terminals::SessionRef> Terminals::begin(std::uint64_t number,
                                               const std::string& command_line, Started console) {
  auto session = std::make_shared<TerminalSession>(NewId(number), command_line, std::move(console),
                                                   options_.post);
  if (!start_reading(session)) {
    return Fail(ErrorKind::kNoSpace, "cannot start a thread for a terminal");
  }
  return session;
}

bool Terminals::start_reading(const SessionRef& session) {
  {
    const std::scoped_lock lock(mutex_);
    ++readers_;
  }
  auto body = [this, held = session]() mutable {
    held->run();
    tell("ended", *held);
    held.reset();
    const std::scoped_lock lock(mutex_);
    --readers_;
    changed_.notify_all();
  };
  if (StartDetachedThread(std::move(body))) return true;
  const std::scoped_lock lock(mutex_);
  --readers_;
  return false;
}

Terminals::SessionRef Terminals::find(std::string_view id) {
  const auto number = NumberOf(id);
  if (!number) return nullptr;
  const std::scoped_lock lock(mutex_);
  const auto found = sessions_.find(*number);
  return found != sessions_.end() && found->second->id() == id ? found->second : nullptr;
}

std::vector<Terminals::SessionRef> Terminals::list() {
  const std::scoped_lock lock(mutex_);
  std::vector<SessionRef> all;
  all.reserve(sessions_.size());
  for (const auto& [number, session] : sessions_) all.push_back(session);
  return all;
}

bool Terminals::close(std::string_view id) {
  const SessionRef session = find(id);
  if (session == nullptr) return false;
  {
    const std::scoped_lock lock(mutex_);
    const auto is_it = [&](const auto& entry) { return entry.second == session; };
    if (std::erase_if(sessions_, is_it) == 0) return false;  // another caller was faster
  }
  session->end();
  tell("closed", *session);
  return true;
}

Status Terminals::set_name(std::string_view id, std::string_view name) {
  const std::string lower = LowerAscii(name);
  if (!lower.empty() && !IsTerminalName(lower)) {
    return Fail(ErrorKind::kInvalidArgument, "invalid name (1-32 chars, a-z0-9_- only)");
  }
  const SessionRef session = find(id);
  if (session == nullptr) return Fail(ErrorKind::kNotFound, "no such session");
  {
    const std::scoped_lock lock(mutex_);  // so that of two callers only one gets the name
    for (const auto& [number, other] : sessions_) {
      if (!lower.empty() && other != session && other->alive() && other->name() == lower) {
        return Fail(ErrorKind::kAlreadyExists, "name already in use");
      }
    }
    session->set_name(lower);
  }
  tell("named", *session);
  return {};
}

Status Terminals::share(std::string_view id, std::string_view bot) {
  if (id.empty() || bot.empty()) {
    return Fail(ErrorKind::kInvalidArgument, "terminal id and bot required");
  }
  const SessionRef session = find(id);
  if (session == nullptr) return Fail(ErrorKind::kNotFound, "no such terminal");
  if (options_.post) options_.post({bot, session->id(), AttachNotice(session->id())});
  session->share_with(std::string(bot));
  tell("shared", *session);
  return {};
}

std::string Terminals::send_from_bot(std::string_view bot, std::string_view id,
                                     std::string_view line) {
  const SessionRef session = find(id);
  if (session == nullptr) return ErrorAnswer("no such terminal");
  if (bot.empty() || session->shared_bot() != bot) {
    return ErrorAnswer("terminal is not shared with this bot");
  }
  if (TrimLineEnd(line).empty()) return ErrorAnswer("empty terminal input");
  if (!session->send(line, false)) return ErrorAnswer("terminal session ended");
  return OkAnswer("sent to " + session->id());
}

void Terminals::focus(std::string_view query) const {
  if (options_.focus) options_.focus(query);
}

void Terminals::end_all() {
  std::vector<SessionRef> all = list();
  {
    const std::scoped_lock lock(mutex_);
    closing_ = true;
    sessions_.clear();
  }
  std::atomic<std::size_t> next{0};
  const auto end_some = [&] {
    for (std::size_t i = next++; i < all.size(); i = next++) all[i]->end();
  };
  std::vector<std::thread> enders;
  const std::size_t wanted = std::min(kEndersAtOnce, all.size());
  while (enders.size() + 1 < wanted) {
    try {
      enders.emplace_back(end_some);
    } catch (const std::system_error&) {
      break;  // this thread ends what the others leave
    }
  }
  end_some();
  for (std::thread& ender : enders) ender.join();
}

}  // namespace mrb::server
