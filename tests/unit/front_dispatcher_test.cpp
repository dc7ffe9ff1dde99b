#include "front/commands/dispatcher.h"

#include <gtest/gtest.h>

#include <set>

#include "front/commands/capability_registry.h"
#include "front/commands/line_driver.h"
#include "front/commands/plain_language.h"
#include "memory/verbs/memory_service.h"
#include "temp_folder.h"
#include "vfs/verbs/vfs_service.h"

namespace mrb::front {
namespace {

class DispatcherTest : public testing::Test {
 protected:
  DispatcherTest() {
    services_.trace = [this](std::string_view span, bool begin) {
      spans_ += std::string(begin ? "<" : ">") + std::string(span);
    };
  }

  std::string dispatch(std::string_view line) {
    std::string answer;
    Dispatch(engine_, answer, line);
    return answer;
  }

  test::TempFolder folder_;
  memory::MemoryService memory_{{.contexts_folder = folder_.path("contexts"),
                                 .files = &platform::SystemFiles(),
                                 .now = [] { return std::uint64_t{1}; }}};
  BotAuthors authors_;
  vfs::VfsService files_{[this] {
    vfs::VfsOptions options;
    options.files = &platform::SystemFiles();
    options.data_home = folder_.path("home");
    options.outside_author = [] { return std::string("cli"); };
    return options;
  }()};
  std::string spans_;
  BotRegisters registers_;
  Services services_{.memory = &memory_,
                     .files = &files_,
                     .authors = &authors_,
                     .registers = &registers_,
                     .trace = {}};
  Engine engine_{.bot = "cli", .store_label = "fs", .services = &services_};
};

TEST_F(DispatcherTest, RefusesInTheOrderOfItsRules) {
  const std::string unknown =
      "' — use Mirebolt:<what you want> (or legacy "
      "fs/fsraw/fsvctl/fsmk/fslock/fsstat/fssys · or "
      "config/claude/callsigns/journal/budget/workflow/job)";
  const std::string script =
      "ERROR: ?() queries and script statements don't replay here (action bodies / REPL front-end "
      "carry commands only — fs:/fsraw:/fsvctl:/fsmk:/fslock:/fsstat:/fssys: or natural language). "
      "Keep loops and queries in the live turn; put the verbs in the action.";
  const std::pair<std::string, std::string> cases[] = {
      {" \t\r\n", "ERROR: empty command"},
      {"FS:cat x", "ERROR: unknown namespace 'FS" + unknown},
      {"grep:find x", "ERROR: unknown namespace 'grep" + unknown},
      {"fs:", "ERROR: no verb after 'fs:'"},
      {"cat x", "ERROR: no namespace (expected fs:/fsraw:/fsvctl: — or Mirebolt:<what you want>)"},
      {"?(a:b)", script},
      {"{x", script},
      {"$x:y", script},
      {"#[x", script},
      {"fs:CAT x", "ERROR: no such file: x"},
      {"grep:EDIT p q", "ERROR: no enrolled directory — enroll <dir> first"},
      {"bots.list", "ERROR: 'bots.list' is not available in this build"},
      {"mem0", "ERROR: 'mem0.help' is not available in this build"},
      {"fssys:author", "ERROR: usage  fssys:author <name>"},
      {"fssys:nope",
       "ERROR: unknown fssys op 'nope' "
       "(author|dump|reload|flush|turndepth|turns|promote|actionrun|policy|checkpoint)"},
      {"fssys:snapshot", "ERROR: no enrolled directory — enroll <dir> first"},
  };
  for (const auto& [line, answer] : cases) EXPECT_EQ(dispatch(line), answer) << line;
}

TEST_F(DispatcherTest, RoutesFamiliesAndTheProgramsOwnName) {
  EXPECT_EQ(dispatch("Memory.StripToTokens Build v1.2 x"), "OK: build v1.2");
  EXPECT_EQ(spans_, "<memory.striptotokens>memory.striptotokens");
  EXPECT_TRUE(dispatch("memory").starts_with("OK: memory — one bucket"));
  for (const char* line : {"NL:help", "Mirebolt:help", "mrb help", "fssys:MAN", "mirebolt: help"}) {
    EXPECT_EQ(dispatch(line), FullReference()) << line;
  }
  EXPECT_TRUE(dispatch("nl: fix the build").starts_with("ERROR: 'fix' is not something I know"));
}

TEST_F(DispatcherTest, KeepsAnAuthorPerBot) {
  const Engine other{.bot = "other", .store_label = "fs", .services = &services_};
  EXPECT_EQ(RunLine(engine_, "i am Ada").answer, "OK: author is 'Ada'");
  for (const char* sentence : {"I think it works", "i am tired of this", "I am", "I"}) {
    EXPECT_FALSE(RunLine(engine_, sentence).understood) << sentence;
  }
  EXPECT_EQ(RunLine(engine_, "fssys:whoami").answer, "OK: you are 'Ada'");
  EXPECT_EQ(RunLine(other, "fssys:whoami").answer, "OK: you are 'other'");
}

TEST_F(DispatcherTest, LineDriverKnowsWhatItUnderstands) {
  struct Case {
    std::string line;
    bool understood;
    std::string answer;
  };
  // A rooted path without a drive is a relative one on Windows, and this caller names no folder.
  const std::string gone = folder_.path("gone");
  const std::string bracketed = folder_.path("(x)");
  const Case cases[] = {
      {"", true, ""},
      {"?(a)", true, "ERROR: field 'a' must be called — a() or a(<expr>)"},
      {"?(1", true, "ERROR: missing ')'"},
      {"?( ) --store=" + bracketed, true, "ERROR: empty query"},
      {"?(1) --store=" + bracketed, true, "ERROR: no enrolled store '" + bracketed + "'"},
      {"! exit 4 ", true, "OK: shell output:\n[exit 4]"},
      {"shell exit 3", true, "OK: shell output:\n[exit 3]"},
      {"shell", true, "ERROR: usage  !<command>   |   shell <command>"},
      {"READ x", true, "ERROR: no such file: x"},
      {"EnrollVersionControl " + gone, true, "ERROR: no such directory: " + gone},
      {"unenroll " + gone, true, "ERROR: not enrolled: " + gone},
      {"unwatch " + gone, true, "OK: was not watching " + gone},
      {"write x content: y", true,
       "ERROR: no enrolled directory holds 'x' — enroll its directory first"},
      {"nonsense x", false,
       "ERROR: no namespace (expected fs:/fsraw:/fsvctl: — or Mirebolt:<what you want>)"},
      {"memory.striptotokens ab", true, "OK: ab"},
  };
  for (const Case& c : cases) {
    const LineOutcome outcome = RunLine(engine_, c.line);
    EXPECT_EQ(outcome.understood, c.understood) << c.line;
    EXPECT_EQ(outcome.answer, c.answer) << c.line;
  }
}

TEST(CapabilityRegistryTest, HoldsEveryRowOnceAndPrintsIt) {
  const auto rows = CapabilityRegistry();
  EXPECT_EQ(rows.size(), 70U);
  std::set<std::string_view> words;
  const std::string reference = FullReference();
  for (const Capability& row : rows) {
    EXPECT_TRUE(words.insert(row.name).second) << row.name;
    const std::string line = std::string(row.name) + " — " + std::string(row.summary) + "\n";
    EXPECT_NE(reference.find("\n" + line), std::string::npos) << row.name;
    EXPECT_EQ(FindCapability(row.name), &row);
  }
  EXPECT_TRUE(reference.starts_with(
      "OK: Mirebolt — one entrypoint; say what you want in plain language. Version control\nis "
      "automatic (this FS's own, NOT git) — you never check in by hand.\n\nFull reference "
      "(generated from the live registry):\n\n== Files ==\nwrite — "));
}

TEST(PlainLanguageTest, RewritesPhrasesToNamespacedVerbs) {
  const std::pair<const char*, const char*> cases[] = {
      {"write src/a.x content: one content: two",
       "fsmk:file <path>src/a.x</path> <content>one content: two</content>"},
      {"write content: x", ""},
      {"write notes.txt hello", ""},
      {"create dir/", "fsmk:file <path>dir/</path>"},
      {"write p content: text \n\n", "fsmk:file <path>p</path> <content>text \n\n</content>"},
      {"write \"a b\" content: x", "fsmk:file <path>a b</path> <content>x</content>"},
      {"write \"the content: of\" content: x",
       "fsmk:file <path>the content: of</path> <content>x</content>"},
      {"write <path>a b</path> content: x", "fsmk:file <path>a b</path> <content>x</content>"},
      {"write <path>a b</path><content>x</content>",
       "fsmk:file <path>a b</path><content>x</content>"},
      {"read a.txt", "fs:cat a.txt"},
      {"read a b.txt", "fs:cat <path>a b.txt</path>"},
      {"read \"a b.txt\"", "fs:cat \"a b.txt\""},
      {"history a b --store=c", "fsvctl:log a b --store=c"},
      {"copy \"a b\" to \"c d\"", "fs:copy <src>a b</src> <dst>c d</dst>"},
      {"copy <src>a</src> <dst>b</dst>", "fs:copy <src>a</src> <dst>b</dst>"},
      {"revert a.txt 1", "fsvctl:revert <path>a.txt</path> <version>1</version>"},
      {"revert \"a b\" to 2", "fsvctl:revert <path>a b</path> <version>2</version>"},
      {"revert a.txt", ""},
      {"copy a to b to c", "fs:copy <src>a to b</src> <dst>c</dst>"},
      {"move a", ""},
      {"move a to ", ""},
      {"revert p q to 3", "fsvctl:revert <path>p q</path> <version>3</version>"},
      {"stores", "fsstat:stores"},
      {"find name:*.cpp keyword:x", "fs:find name:*.cpp keyword:x"},
  };
  for (const auto& [said, command] : cases) {
    const std::string_view text = said;
    const auto blank = text.find(' ');
    const Capability* row = FindCapability(text.substr(0, blank));
    ASSERT_NE(row, nullptr) << said;
    const auto words = blank == std::string_view::npos ? "" : text.substr(blank + 1);
    EXPECT_EQ(RewritePhrase(*row, words), command) << said;
  }
}

}  // namespace
}  // namespace mrb::front
