#include "front/interpreter.h"

#include <chrono>
#include <exception>

#include "common/answer.h"
#include "front/line_driver.h"
#include "platform/files.h"

namespace mrb::front {
namespace {

std::uint64_t UnixSeconds() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

}  // namespace

Interpreter::Interpreter(const Homes& homes)
    : memory_({.contexts_folder = homes.contexts_folder(),
               .files = &platform::SystemFiles(),
               .now = &UnixSeconds}),
      services_{.memory = &memory_, .authors = &authors_, .trace = {}} {}

Engine Interpreter::engine_for(std::string_view bot) const {
  return {.bot = std::string(bot), .store_label = "fs", .services = &services_};
}

void Interpreter::execute(std::string_view bot, std::string_view command, std::string& answer) {
  // The last line of defence of a resident that serves others too: a command that runs out of
  // memory is that command's failure.
  try {
    answer = RunLine(engine_for(bot), command).answer;
  } catch (const std::exception& problem) {
    answer = ErrorAnswer(std::string("the command failed: ") + problem.what());
  }
}

}  // namespace mrb::front
