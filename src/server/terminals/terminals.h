#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "server/terminals/saved_hosts.h"
#include "server/terminals/terminal_session.h"

namespace mrb::server {

struct TerminalOptions {
  platform::FileSystem* files = nullptr;              ///< must be set; outlives the terminals
  std::string saved_hosts;                            ///< the file of saved hosts
  std::function<void(std::string_view)> log;          ///< one whole line; any thread; may be empty
  TerminalPoster post;                                ///< the chat; empty: nobody is told
  std::function<void(std::string_view query)> focus;  ///< the desktop shell; may be empty
  /// Told what became of a session: "opened", "named", "shared", "ended" or "closed". Any thread,
  /// with no lock held; may be empty.
  std::function<void(std::string_view what, const TerminalSession&)> changed;
  std::size_t most = 400;  ///< sessions kept, so that a usual limit of 1,024 open files is not
                           ///< reached; the ones that ended first make room for new ones
};

/// All terminal sessions of a resident, and the saved hosts. Thread-safe.
class Terminals {
 public:
  using SessionRef = std::shared_ptr<TerminalSession>;

  explicit Terminals(TerminalOptions options);
  Terminals(const Terminals&) = delete;
  Terminals& operator=(const Terminals&) = delete;
  /// Ends every session.
  ~Terminals();

  /// Starts a session; an empty command line is the user's shell, an empty folder their home. The
  /// sizes as ClampSize() takes them. What went wrong is logged, without the command's arguments.
  [[nodiscard]] Result<SessionRef> open(std::string_view command_line, const std::string& folder,
                                        std::uint64_t columns, std::uint64_t rows);

  /// Null when there is none of that id, or no longer.
  [[nodiscard]] SessionRef find(std::string_view id);

  /// In the order in which they were opened.
  [[nodiscard]] std::vector<SessionRef> list();

  /// Takes it out of the table and ends it with all it started. False when there is none.
  bool close(std::string_view id);

  /// Gives a session another name, in lower case; an empty one takes it away. kInvalidArgument for
  /// a name against the rule, kAlreadyExists for one that another live session has, kNotFound.
  [[nodiscard]] Status set_name(std::string_view id, std::string_view name);

  /// From now on the bot is told what the terminal shows, beginning with a notice how to drive it.
  [[nodiscard]] Status share(std::string_view id, std::string_view bot);

  /// A line that a bot sends to a terminal that is shared with it. The answer text.
  [[nodiscard]] std::string send_from_bot(std::string_view bot, std::string_view id,
                                          std::string_view line);

  void focus(std::string_view query) const;

  [[nodiscard]] SavedHosts& hosts() { return hosts_; }

  /// Ends every session, several at once; none can be opened any more.
  void end_all();

 private:
  using Started = std::unique_ptr<platform::PseudoConsole>;

  void tell(std::string_view what, const TerminalSession& session) const;
  [[nodiscard]] Result<std::uint64_t> reserve();
  Status enter(std::uint64_t number, const Result<SessionRef>& session);
  Result<SessionRef> begin(std::uint64_t number, const std::string& command_line, Started console);
  bool start_reading(const SessionRef& session);

  const TerminalOptions options_;
  SavedHosts hosts_;

  std::mutex mutex_;
  std::condition_variable changed_;
  // All guarded by mutex_, which is never held while a session works:
  std::map<std::uint64_t, SessionRef> sessions_;  // by the number in their id
  std::uint64_t next_number_ = 1;
  std::size_t opening_ = 0;  // counted among the sessions already
  std::size_t readers_ = 0;  // threads
  bool closing_ = false;
};

}  // namespace mrb::server
