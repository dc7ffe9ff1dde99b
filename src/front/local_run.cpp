#include "front/local_run.h"

#include <string>

#include "common/answer.h"
#include "front/commands/command_text.h"
#include "front/commands/line_driver.h"
#include "platform/console.h"

namespace mrb::front {

int RunLineHere(const Engine& engine, std::string_view line) {
  const LineOutcome outcome = RunLine(engine, line);
  PrintAnswer(outcome.answer);
  if (!outcome.understood) {
    platform::WriteStderr("fs parse error: unknown word '" + std::string(SplitCommand(line).head) +
                          "' — line not understood; plain English works (try: Mirebolt help)\n");
  }
  return !outcome.understood || IsErrorAnswer(outcome.answer) ? 1 : 0;
}

int RunStdinHere(const Engine& engine, StdinLines& lines) {
  int status = 0;
  while (const auto line = lines.next()) {
    if (RunLineHere(engine, *line) != 0) status = 1;
  }
  return status;
}

}  // namespace mrb::front
