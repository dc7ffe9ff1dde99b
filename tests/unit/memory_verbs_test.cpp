// The memory verbs as a user sees them: exact answers, and what they leave behind.

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

#include "common/answer.h"
#include "memory_home.h"

namespace mrb::memory {
namespace {

using test::MemoryHome;

constexpr const char* kNames =
    "procedure|history|preference|note|example|foundation|protocol|usage|decision|constraint|"
    "reference|state|lesson|warning|design|todo";

struct Step {
  std::string line;
  std::string answer;
};

void Play(MemoryHome& home, const std::vector<Step>& steps) {
  for (const Step& step : steps) {
    EXPECT_EQ(home.run(step.line), step.answer) << step.line;
    ++home.now;
  }
}

TEST(MemoryVerbs, AddReplacesAndAddMemoAppends) {
  MemoryHome home;
  Play(home, {{"add me, notes, t, , hello, world", "OK: memory 't' added in context(s): notes @0"},
              {"retrieve me, notes, t", "hello, world"},
              {"addmemo me, notes, t, -, usage | procedure, second",
               "OK: memo 2 @55 appended to 't' in context(s): notes"},
              {"addmemo me, notes, t, \"Foo Bar\" x, -, third\nline",
               "OK: memo 3 @96 appended to 't' in context(s): notes"},
              {"retrieve me, notes, t", "hello, world\nsecond\nthird\nline"},
              {"memos me, notes, t",
               "OK: 3 memo(s) in 't' of context 'notes'\n  1  [untyped]  hello, world\n"
               "  2  [procedure|usage]  second\n  3  [untyped]  third"},
              {"getmemo me, notes, t, 2",
               "OK: memo 2 of 't' [procedure|usage] @55  2023-11-14 22:13\nsecond"},
              {"add me, notes, t, , again",
               "OK: memory 't' REPLACED in context(s): notes @0 (REPLACED 3 memo(s))\n"
               "(add replaces the whole topic; addmemo appends, update edits one memo)"},
              {"retrieve me, notes, t", "again"},
              {"retrieve me, notes, none", ""},
              {"retrieve me, nowhere, none", ""}});
  EXPECT_FALSE(home.exists("nowhere"));
  EXPECT_EQ(home.read("notes", "context.id"), "notes");
}

TEST(MemoryVerbs, QueriesBindMemosToFields) {
  MemoryHome home;
  auto registers = std::make_shared<CommandRegister>();
  MemoryHome::Options options;
  options.registers = [&](std::string_view) { return registers; };
  home.set(options);
  for (const char* line :
       {"addmemo me, c, build, tools, usage|lesson, the (compiler) is slow",
        "addmemo me, c, build, , , ship it", "add me, c, other, , naïve parser"}) {
    ASSERT_TRUE(home.run(line).starts_with("OK: ")) << line;
  }
  EXPECT_EQ(home.run("qmemo me, c, ?( $1 == \"\" && body(\"ship\") )"),
            "OK: 1 match(es)\n  build#2 [untyped]  ship it");
  const std::pair<std::string, std::string> cases[] = {
      {"1", ""},  // bare, so a glob
      {"b*", "build#1 build#2"},
      {"*#1", "build#1 other#1"},
      {"pars*", "other#1"},
      {"?( topics()==\"tool?\" | body(\"NA*PARSER\") )", "build#1 other#1"},
      {"flags(\"lesson\") && keywords()==\"build\" && name()==\"build#1\" && path()==\"build\"",
       "build#1"},
      {"name() == $1", "build#1"},
      {"!flags(), \"x\"", "ERROR: unexpected character ',' (globs '*' '?' go inside \"quotes\")"},
      {"?( b* )", "ERROR: unexpected character '*' (globs '*' '?' go inside \"quotes\")"},
      {"?( 1", "ERROR: missing ')'"},
      {"?()", "ERROR: empty query"},
      {"", "ERROR: empty query"},
  };
  for (const auto& [expression, ids] : cases) {
    std::string found = home.run("query me, c, " + expression);
    if (found.starts_with("OK: ")) {
      found.clear();
      for (const auto& id : registers->entries()) found += (found.empty() ? "" : " ") + id;
    }
    EXPECT_EQ(found, ids) << expression;
  }
  EXPECT_EQ(home.run("query me, none, x*"), "OK: 0 match(es)");
}

TEST(MemoryVerbs, SeveralContextsTakeTheSameMemoOrNone) {
  MemoryHome home;
  Play(home, {{"add me, {a, b,a}, t, , shared", "OK: memory 't' added in context(s): a, b @0"},
              {"addmemo me, b, t, , , more", "OK: memo 2 @41 appended to 't' in context(s): b"},
              {"add me, {a,b}, t, , new",
               "OK: memory 't' REPLACED in context(s): a, b @0 (REPLACED 3 memo(s))\n"
               "(add replaces the whole topic; addmemo appends, update edits one memo)"},
              {"add me, {c, ../d}, t, , x",
               "ERROR: bad context id '../d' — none of / \\ : * ? \" < > | , { } is allowed"}});
  EXPECT_FALSE(home.exists("c"));
}

TEST(MemoryVerbs, EditsAndDeletes) {
  MemoryHome home;
  Play(home,
       {{"addmemo me, c, t, , , one", "OK: memo 1 @0 appended to 't' in context(s): c"},
        {"addmemo me, c, u, , , other", "OK: memo 1 @35 appended to 'u' in context(s): c"},
        {"addmemo me, c, t, , , two", "OK: memo 2 @74 appended to 't' in context(s): c"},
        {"update me, c, t, 1, , note, a longer first", "OK: memo 1 of 't' REPLACED in context 'c'"},
        {"getmemo me, c, t, 1", "OK: memo 1 of 't' [note] @0  2023-11-14 22:13\na longer first"},
        {"retrieve me, c, t", "a longer first\ntwo"},
        {"retrieve me, c, u", "other"}});
  const std::string before = home.read("c", "data.mrb4");
  Play(home, {{"deletememo me, c, t, 1",
               "OK: memo 1 deleted from 't' (1 left; previous file kept at data.mrb4.last)"},
              {"deletememo me, c, t, 2", "ERROR: 't' has 1 memo(s) in context 'c' — n is 1-based"},
              {"retrieve me, c, t", "two"}});
  EXPECT_EQ(home.read("c", "data.mrb4.last"), before);
  Play(home, {{"deletememo me, c, t, 1",
               "OK: memo 1 deleted from 't' (0 left; previous file kept at data.mrb4.last)"},
              {"memos me, c, t", "ERROR: no memory 't' in context 'c'"},
              {"remove me, c, u",
               "OK: deleted 'u' from context 'c' (previous file kept at data.mrb4.last)"},
              {"delete me, c, u", "ERROR: no memory 'u' in context 'c'"},
              {"recent me, c", "OK: context 'c' has no memos"}});
  EXPECT_EQ(home.read("c", "data.mrb4"), "MRB4");
}

TEST(MemoryVerbs, RefusalsWriteNothing) {
  MemoryHome home;
  const std::string names = kNames;
  const std::string arg = " <botid>, <context>, <arg>   (memory.help shows the manual)";
  const std::string empty =
      " needs content — nothing written (an empty memo is never what you meant; the text is the "
      "LAST field: ";
  const std::string update =
      "ERROR: usage  memory.update <botid>, <context>, <topic>, <n>, <keywords>, <props>, "
      "<content>\n       props (|-combine, or leave empty): ";
  Play(home,
       {{"add me, c, t, kw",
         "ERROR: usage  memory.add <botid>, {contexts}, <topic>, <keywords>, <content>"},
        {"add me, c, t, kw, ",
         "ERROR: add" + empty + "memory.add <botid>, {contexts}, <topic>, <keywords>, <content>)"},
        {"addmemo me, c, t, , ",
         "ERROR: usage  memory.addmemo <botid>, {contexts}, <topic>, <keywords>, <props>, "
         "<content>\n       props (|-combine, or leave empty): " +
             names},
        {"addmemo me, c, t, , usage|bogus, x",
         "ERROR: unknown memo property 'bogus' — valid: " + names},
        {"addmemo me, c, t, , ,",
         "ERROR: addmemo" + empty +
             "memory.addmemo <botid>, {contexts}, <topic>, <keywords>, <props>, <content>)"},
        {"update me, c, t, one, , , x", update + names},
        {"update me, c, t, 1, , ", update + names},
        {"update me, c, t, 1, , , ", "ERROR: update needs content (deletememo removes a memo)"},
        {"update me, c, t, 1, , , x", "ERROR: 't' has 0 memo(s) in context 'c' — n is 1-based"},
        {"getmemo me, c, t", "ERROR: usage  memory.getmemo <botid>, <context>, <topic>, <n>"},
        {"getmemo me, c, t, 0", "ERROR: 't' has 0 memo(s) in context 'c' — n is 1-based"},
        {"deletememo me, c, t", "ERROR: usage  memory.deletememo <botid>, <context>, <topic>, <n>"},
        {"delete me, c, t", "ERROR: no memory 't' in context 'c'"},
        {"Remove me", "ERROR: usage  memory.Remove" + arg},
        {"recent me, c, 0", "ERROR: usage  memory.recent" + arg},
        {"latest me", "ERROR: usage  memory.latest" + arg},
        {"stats me", "ERROR: usage  memory.stats" + arg},
        {"bogus x", "ERROR: unknown memory verb 'bogus'\n"},
        {"stats me, .hidden",
         "ERROR: bad context id '.hidden' — a leading dot and a trailing dot or blank are not "
         "allowed"}});
  EXPECT_FALSE(home.exists("c"));
}

TEST(MemoryVerbs, RecentIsNewestFirstAndCut) {
  MemoryHome home;
  (void)home.run("add me, c, a, , first");
  (void)home.run("addmemo me, c, b, , todo|note, " + std::string(119, 'x') + "é and more");
  home.now += 60;
  (void)home.run("update me, c, a, 1, , , changed");
  EXPECT_EQ(home.run("recent me, c"),
            "OK: 2 most recent memo(s) in 'c' (newest first)\n"
            "  a#1 [untyped] @ 2023-11-14 22:14  changed\n"
            "  b#1 [note|todo] @ 2023-11-14 22:13  " +
                std::string(119, 'x') + "…");
  EXPECT_EQ(home.run("recent me, c, 1"),
            "OK: 1 most recent memo(s) in 'c' (newest first)\n"
            "  a#1 [untyped] @ 2023-11-14 22:14  changed");
}

TEST(MemoryVerbs, StatsTokensAndHelp) {
  MemoryHome home;
  (void)home.run("add me, c, a, , alpha beta");
  EXPECT_EQ(home.run("stats me, c"),
            "OK: context 'c'\n  topics:    1\n  memos:     1\n  keywords:  2\n"
            "  temporal:  0 time key(s)\n  vectors:   0  (semantic lane off)\n"
            "  models:    0 type(s), 0 memo key(s)\n  bytes:     52 in RAM, 56 on disk\n"
            "  written:   2023-11-14 22:13 .. 2023-11-14 22:13 (UTC)");
  EXPECT_EQ(home.run("striptotokens Build v1.2.3 of File.CPP, then rebuild."),
            "OK: build v1.2.3 of file.cpp then rebuild");
  EXPECT_EQ(home.run("striptotokens x = y"), "OK:");
  const std::string help = home.run("help");
  EXPECT_TRUE(
      help.starts_with("OK: memory — one bucket = one context's memories (topic -> content, "
                       "keyword-indexed).\n"));
  std::size_t at = help.find("\nEverything you can do (generated from the live registry):\n");
  for (const char* row : {"add", "getmemo", "lint", "w5build", "forgetmodel", "help"}) {
    at = help.find("\n\n  " + std::string(row) + "\n", at);
    EXPECT_NE(at, std::string::npos) << row;
  }
}

/// Random verbs against a plain list of memos, the service restarted now and then.
TEST(MemoryVerbs, AgreesWithAPlainModel) {
  constexpr unsigned kSeed = 20240611;
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  std::mt19937 random(kSeed);
  MemoryHome home;
  std::map<std::string, std::vector<std::string>> model;
  for (int step = 0; step < 400; ++step) {
    const std::string topic = "t" + std::to_string(random() % 6);
    const std::string content = "memo " + std::to_string(step) + std::string(random() % 40, 'x');
    auto& memos = model[topic];
    const std::size_t n = memos.empty() ? 0 : random() % memos.size() + 1;
    const std::string at = "me, c, " + topic + ", " + std::to_string(n);
    switch (random() % 12) {
      case 0:
        (void)home.run(std::string("add me, c, ").append(topic).append(", , ").append(content));
        memos = {content};
        break;
      case 1:
        EXPECT_EQ(IsErrorAnswer(home.run("delete me, c, " + topic)), memos.empty());
        memos.clear();
        break;
      case 2:
        EXPECT_EQ(IsErrorAnswer(home.run("deletememo " + at)), n == 0);
        if (n > 0) memos.erase(memos.begin() + static_cast<std::ptrdiff_t>(n) - 1);
        break;
      case 3:
        EXPECT_EQ(IsErrorAnswer(home.run(
                      std::string("update ").append(at).append(", , note, ").append(content))),
                  n == 0);
        if (n > 0) memos[n - 1] = content;
        break;
      case 4:
        home.reopen();
        break;
      default:
        (void)home.run(
            std::string("addmemo me, c, ").append(topic).append(", , usage, ").append(content));
        memos.push_back(content);
    }
    std::string joined;
    for (const std::string& memo : memos) joined += (&memo == &memos.front() ? "" : "\n") + memo;
    ASSERT_EQ(home.run("retrieve me, c, " + topic), joined) << "step " << step;
  }
}

}  // namespace
}  // namespace mrb::memory
