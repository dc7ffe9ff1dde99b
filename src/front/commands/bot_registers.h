#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "common/command_register.h"

namespace mrb::front {

/// The command register of every bot. Thread-safe.
class BotRegisters {
 public:
  /// The bot's own, made when it has none.
  [[nodiscard]] std::shared_ptr<CommandRegister> of(std::string_view bot);

 private:
  // Bots are named by their callers: without a bound a script could fill the resident's memory.
  // Past it all registers are forgotten, which costs nobody more than a listing.
  static constexpr std::size_t kMaxBots = 1000;

  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<CommandRegister>, std::less<>>
      registers_;  // guarded by mutex_
};

/// The entries of a register with their numbers, as an answer.
[[nodiscard]] std::string ListRegisters(const CommandRegister& registers);

}  // namespace mrb::front
