#include "front/commands/engine.h"

#include <utility>

#include "common/answer.h"
#include "platform/process.h"
#include "server/http/interpreter_bridge.h"

namespace mrb::front {

std::string BotAuthors::author_of(std::string_view bot) const {
  const std::lock_guard lock(mutex_);
  const auto found = authors_.find(bot);
  return found == authors_.end() ? std::string(bot) : found->second;
}

bool BotAuthors::set(std::string_view bot, std::string_view author) {
  const std::lock_guard lock(mutex_);
  const auto found = authors_.find(bot);
  if (found != authors_.end()) {
    found->second = author;
    return true;
  }
  if (authors_.size() >= kMaxBots) return false;
  authors_.emplace(bot, author);
  return true;
}

TraceSpan::TraceSpan(const Engine& engine, std::string name)
    : engine_(engine), name_(std::move(name)) {
  if (engine_.services->trace) engine_.services->trace(name_, true);
}

TraceSpan::~TraceSpan() {
  if (engine_.services->trace) engine_.services->trace(name_, false);
}

std::string NotInThisBuild(std::string_view verb) {
  return ErrorAnswer("'" + std::string(verb) + "' is not available in this build");
}

vfs::VfsCall CallOf(const Engine& engine) {
  return {.author = engine.services->authors->author_of(engine.bot),
          .folder = server::CurrentCallSettings().folder,
          .registers = engine.services->registers->of(engine.bot)};
}

std::string RunFiles(const Engine& engine, std::string_view name_space, std::string_view verb,
                     std::string_view arguments) {
  return engine.services->files->execute(CallOf(engine), name_space, verb, arguments);
}

}  // namespace mrb::front
