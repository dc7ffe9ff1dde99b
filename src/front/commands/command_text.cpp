#include "front/commands/command_text.h"

#include <algorithm>

#include "common/text.h"

namespace mrb::front {

CommandText SplitCommand(std::string_view text) {
  CommandText command;
  command.line = Trim(text);
  const auto blank = std::min(command.line.find_first_of(" \t"), command.line.size());
  command.head = command.line.substr(0, blank);
  command.arguments = Trim(command.line.substr(blank));
  const auto colon = command.head.find(':');
  command.has_colon = colon != std::string_view::npos;
  command.name_space = command.head.substr(0, colon);
  if (command.has_colon) command.verb = command.head.substr(colon + 1);
  return command;
}

}  // namespace mrb::front
