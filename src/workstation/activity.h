#pragma once

#include <cstdint>
#include <string_view>

#include "memory/verbs/memory_service.h"
#include "server/terminals/terminal_session.h"
#include "vfs/store/version_store.h"
#include "workstation/change_log_cache.h"
#include "workstation/event_feed.h"

namespace mrb::workstation {

/// What goes on in a resident, told by its subsystems and remembered for the pages. Made before
/// they are, so that nothing is missed. Thread-safe.
class Activity {
 public:
  /// `unix_seconds`: the time of the start; numbers of events grow with it.
  explicit Activity(std::uint64_t unix_seconds) : events_(unix_seconds << 20U) {}

  void file_changed(const vfs::VersionStore& store, const vfs::Change& change);
  void memory_changed(const memory::MemoryChange& change);
  void terminal_changed(std::string_view what, const server::TerminalSession& session);

  [[nodiscard]] EventFeed& events() { return events_; }
  [[nodiscard]] ChangeLogCache& books() { return books_; }

 private:
  EventFeed events_;
  ChangeLogCache books_;
};

/// The name of a store in the routes: a short text that stays the same.
[[nodiscard]] std::string StoreId(const vfs::VersionStore& store);

}  // namespace mrb::workstation
