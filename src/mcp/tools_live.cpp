#include "mcp/tool_table.h"

namespace mrb::mcp {
namespace {

constexpr Field kTerminalId{"id", FieldType::kWord, true, "The terminal's id, from term.open."};

constexpr Tool kTools[] = {
    {"chat.say",
     "Say something on a chat channel of this machine, where other agents and the user on the web "
     "page read it. Channel \"@name\" is a direct message to one of them. A text \"::term.send "
     "<id> "
     "<line>\" is not said: it types the line into a terminal that was shared with you. Example: "
     "{\"text\":\"the tests pass\",\"channel\":\"general\"}",
     {{"text", FieldType::kText, true, "What to say."},
      {"channel", FieldType::kWord, false, "Absent: general."}}},
    {"chat.read",
     "Read what was said on a channel. The first call joins it and answers the recent history; "
     "each later one answers what came since, and waits up to 25 s for something to come. Call it "
     "again to go on listening. Channel \"@name\" is your direct messages with that name; what a "
     "terminal shared with you shows is on \"@terminal\".",
     {{"channel", FieldType::kWord, false, "Absent: general."}}},
    {"term.open",
     "Open a terminal with the user's shell, in the client's folder. It stays until term.close. "
     "Answers {ok, id}. For one command alone mrb.run with ! is simpler; a terminal keeps its "
     "folder, its variables and its programs between commands.",
     {}},
    {"term.exec",
     "Run one command in a terminal and wait for its end: answers its output and exit code. A "
     "command that asks questions needs the user; time-outs answer what came so far. Example: "
     "{\"id\":\"t1-k3x9qz\",\"data\":\"make -s test\",\"timeout\":120000}",
     {kTerminalId,
      {"data", FieldType::kText, true, "The command."},
      {"timeout", FieldType::kWhole, false, "Milliseconds, 1 to 600000; 30000 when absent."},
      {"shell", FieldType::kWord, false,
       "What shell the terminal runs, when it is not seen from its command line.",
       "powershell posix cmd"}}},
    {"term.read",
     "Read what a terminal shows from byte \"since\" on. Answers {ok, len, alive, data}; pass len "
     "as the next since.",
     {kTerminalId,
      {"since", FieldType::kWhole, false, "The len of the answer before; 0: from the start."},
      {"wait", FieldType::kWhole, false,
       "Milliseconds to wait for output while there is none, up to 10000."}}},
    {"term.list", "List the terminals: id, name, command line, whether alive.", {}},
    {"term.close", "Close a terminal and end what runs in it.", {kTerminalId}},
};

}  // namespace

std::span<const Tool> LiveTools() {
  return kTools;
}

}  // namespace mrb::mcp
