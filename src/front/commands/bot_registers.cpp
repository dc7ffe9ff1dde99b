#include "front/commands/bot_registers.h"

#include "common/answer.h"

namespace mrb::front {

std::shared_ptr<CommandRegister> BotRegisters::of(std::string_view bot) {
  const std::scoped_lock guard(mutex_);
  if (const auto known = registers_.find(bot); known != registers_.end()) return known->second;
  if (registers_.size() >= kMaxBots) registers_.clear();
  return registers_.emplace(bot, std::make_shared<CommandRegister>()).first->second;
}

std::string ListRegisters(const CommandRegister& registers) {
  const auto entries = registers.entries();
  std::string text = std::to_string(entries.size()) + " register(s)\n";
  for (std::size_t i = 0; i < entries.size(); ++i) {
    text.append("  $").append(std::to_string(i + 1)).append("  ").append(entries[i]).append("\n");
  }
  return OkAnswer(text);
}

}  // namespace mrb::front
