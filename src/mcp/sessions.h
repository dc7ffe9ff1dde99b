#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace mrb::mcp {

/// What is known of one client between its requests. Its own mutex guards everything in it.
struct Session {
  std::mutex mutex;
  std::string client;                         ///< what it called itself in initialize
  std::string protocol;                       ///< the revision agreed on; empty before initialize
  std::string callsign;                       ///< in the chat; empty before the first word
  std::map<std::string, std::uint64_t> read;  ///< how far, of each channel it has joined
};

/// The clients, told apart by the id that each sends with its requests. A client that sends none
/// shares a session with all others like it; one whose session is not known any more, after a
/// restart say, simply has a new one: nothing that matters is lost with it. Thread-safe.
class Sessions {
 public:
  using SessionRef = std::shared_ptr<Session>;

  [[nodiscard]] SessionRef of(std::string_view id);

  /// An id that nobody can guess.
  [[nodiscard]] static std::string new_id();

 private:
  static constexpr std::size_t kMax = 1000;  ///< then the one longest unused is forgotten

  struct Entry {
    SessionRef session;
    std::uint64_t last_use = 0;
  };

  void make_room();

  std::mutex mutex_;
  std::map<std::string, Entry, std::less<>> entries_;  // guarded by mutex_
  std::uint64_t uses_ = 0;                             // guarded by mutex_
};

}  // namespace mrb::mcp
