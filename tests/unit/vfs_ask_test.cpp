// Questions to whole trees: queries, find, grep and the edits made of it.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "vfs/grep/grep_printer.h"
#include "vfs/grep/grep_words.h"
#include "vfs/model/version_record.h"
#include "vfs_service_fixture.h"

namespace mrb::vfs {
namespace {

class AskTest : public test::ServiceFixture {
 protected:
  std::string query(const std::string& expression, const std::string& options = "") {
    return service_->query(
        {.author = "ann", .folder = CallerFolder::known(root_), .registers = registers_},
        expression, options);
  }

  /// The paths of a query's lines, with blanks between them; any other answer as it is.
  std::string matches(const std::string& expression) {
    std::string answer = query(expression);
    if (!answer.starts_with("OK: ")) return answer;
    std::string paths;
    for (const std::string& path : registers_->entries())
      paths += (paths.empty() ? "" : " ") + path;
    const auto count = std::ranges::count(answer, '\n') - 1;
    EXPECT_TRUE(answer.starts_with("OK: " + std::to_string(count) + " match(es)\n")) << answer;
    EXPECT_EQ(registers_->entries().size(), static_cast<std::size_t>(count));
    return paths;
  }
};

TEST_F(AskTest, QueriesBindFilesToFields) {
  EXPECT_EQ(query("1"), "ERROR: no enrolled directory — enroll <dir> first");
  put("src/vfs/Parser.cpp", "int Deprecated_call();\n");
  put("src/empty.h", "");
  put("notes.md", "a b a deprecated\n");
  put("gone.md", "gone");
  enroll();
  run("fs:rm gone.md");
  run("fslock:lock notes.md");
  const std::pair<std::string, std::string> cases[] = {
      {"name()==\"*.CPP\"", "src/vfs/Parser.cpp"},
      {"1", "gone.md notes.md src/empty.h src/vfs/Parser.cpp"},
      {"id(\"src/*\")", "src/empty.h src/vfs/Parser.cpp"},
      {"path()==\"" + test::fs::path(root_).generic_string() +
           "/notes*\" && !path(\"notes.md\") && glob(\"notes.md\")",
       "notes.md"},
      {"topics()==\"vfs\"", "src/vfs/Parser.cpp"},
      {"topics()+0 == 1", "src/empty.h"},
      {"!topics()", "gone.md notes.md"},
      {"keywords(\"deprecated*\") && globkeyword(\"int\")", "src/vfs/Parser.cpp"},
      {"name()==\"notes*\" && keywords()+0 == 5", "notes.md"},  // notes md a b deprecated
      {"body(\"DEPRECATED*L?(\")", "src/vfs/Parser.cpp"},
      {"content(\"deprecated\")", "notes.md src/vfs/Parser.cpp"},
      {"!body()", "gone.md src/empty.h"},
      {"deleted()", "gone.md"},
      {"flags(\"deleted\") | flags()==\"lock*\"", "gone.md notes.md"},
      {"name()==$2", "notes.md"},
      {"name()==$7", ""},
      {"nothing()", ""},
      {"7/0 | 7%0", ""},
      {" ", "ERROR: empty query"},
      {"name()==*.cpp", "ERROR: unexpected character '*' (globs '*' '?' go inside \"quotes\")"},
  };
  for (const auto& [expression, paths] : cases) EXPECT_EQ(matches(expression), paths) << expression;
}

TEST_F(AskTest, QueriesNameTheirStore) {
  put("a.md", "one");
  enroll();
  const std::string stamp = StampText(service_->files().registry().active()->find("a.md")->stamp);
  EXPECT_EQ(query("1"), "OK: 1 match(es)\n  [1] a.md  <v1  3b  outside  " + stamp + ">\n");
  const std::string other = folder_.path("other");
  test::fs::create_directories(other);
  run("fsvctl:enroll " + other);
  EXPECT_EQ(query("1"),
            "ERROR: 2 stores enrolled — ?() queries can't pick one; set a resolution scope to "
            "disambiguate");
  EXPECT_EQ(query("1", "--store=" + other), "OK: 0 match(es)\n");
  EXPECT_TRUE(query("1", "--store=" + root_).starts_with("OK: 1 match(es)\n  [1] a.md"));
  EXPECT_EQ(query("1", "--store=/no"), "ERROR: no enrolled store '/no'");
}

TEST_F(AskTest, FindsByPathAndWord) {
  put("src/vfs/Parser.cpp", "int a_b;\n");
  put("notes.md", "the a_b, naïve\n");
  enroll();
  const std::string stamp =
      StampText(service_->files().registry().active()->find("notes.md")->stamp);
  const std::string notes = "  notes.md  v1  16b  outside  " + stamp + "\n";
  const std::string parser = "  src/vfs/Parser.cpp  v1  9b  outside  " + stamp + "\n";
  const std::string usage = "ERROR: usage  find [name:<glob>] [keyword:<glob>] [--store=dir]";
  expect({{"fs:find name:*.MD", "OK: 1 file(s)\n" + notes},
          {"fs:find name:parser.cpp", "OK: 1 file(s)\n" + parser},
          {"fs:find name:\"src/*\" keyword:A_B", "OK: 1 file(s)\n" + parser},
          {"fs:find name:* keyword:vfs", "OK: 1 file(s)\n" + parser},
          {"fs:find keyword:a?b", "OK: 2 file(s)\n" + notes + parser},
          {"fs:find keyword:na*e", "OK: 1 file(s)\n" + notes},
          {"fs:find keyword:na", "OK: 0 file(s)\n"},
          {"fs:find --store=" + root_ + " keyword:int name:./src/vfs/Parser.cpp  ",
           "OK: 1 file(s)\n" + parser},
          {"fs:find name:no such keyword:\"a b\"", "OK: 0 file(s)\n"},
          {"fs:find *", "OK: 2 file(s)\n" + notes + parser},
          {"fs:find", usage},
          {"fs:find keyword:", usage},
          {"fs:find --name=x", usage}});
}

TEST_F(AskTest, GrepShowsWhatItIsAskedFor) {
  put("src/a.cpp", "int a;\nint foo_12;\n\nlong Foo(a b);");
  put("src/b.h", "foo \"x\" bar\r\n");
  put("bin", std::string("foo\0", 4));
  put("bytes", "\xff\xfe foo\n");
  put("top", "int foo\n");
  expect({{"fs:grep x", "ERROR: no enrolled directory — enroll <dir> first"}});
  enroll();
  const std::string b = "src/b.h:1:foo \"x\" bar\r\n";
  expect({
      {"fs:grep foo", "bytes:1:\xff\xfe foo\nsrc/a.cpp:2:int foo_12;\n" + b + "top:1:int foo\n"},
      {"fs:grep -i foo src/a.cpp", "src/a.cpp:2:int foo_12;\nsrc/a.cpp:4:long Foo(a b);\n"},
      {"fs:grep -wi foo SRC/*", "src/a.cpp:4:long Foo(a b);\n" + b},
      {"fs:grep -c int", "src/a.cpp:2\ntop:1\n"},
      {"fs:grep -lrn int ./src --", "src/a.cpp\n"},
      {"fs:grep -L -i foo a.cpp " + root_ + "/src", "OK: all 2 file(s) hold a match"},
      {"fs:grep -L int", "bytes\nsrc/b.h\n"},
      {"fs:grep -o '[a-z]+_[0-9]+|b\\b' src", "src/a.cpp:2:foo_12\nsrc/a.cpp:4:b\n"},
      {"fs:grep -F (a", "src/a.cpp:4:long Foo(a b);\n"},
      {"fs:grep \"a b\"", "src/a.cpp:4:long Foo(a b);\n"},
      {"fs:grep \"foo \\\"x\\\"\"", b},
      {"fs:grep -e -- --include=*.h bar", "ERROR: no versioned file fits 'bar'"},
      {"fs:grep bar --include *.h", b},
      {"fs:grep foo --exclude=src/* --exclude=bytes -m1", "top:1:int foo\n"},
      {"fs:grep -C1 foo_ src", "src/a.cpp-1-int a;\nsrc/a.cpp:2:int foo_12;\nsrc/a.cpp-3-\n"},
      {"fs:grep zzz", "OK: no match in 5 file(s)"},
      {"fs:grep -l -v . top", "OK: no match in 1 file(s)"},
      {"fs:grep --store=" + root_ + " bar", b},
      {"fs:grep --store=/no bar", "ERROR: no enrolled store '/no'"},
      {"fs:grep ( top", "ERROR: unmatched ( in pattern"},
      {"fs:grep (a{1000}){1000}", "ERROR: pattern too large"},
      {"fs:grep " + std::string(10'000, 'f'), "OK: no match in 5 file(s)"},
      {"fs:grep", "ERROR: usage  grep [-i]*"},
      {"fs:grep -Z x", "ERROR: unknown flag -Z\nusage  grep*"},
      {"fs:grep x -A", "ERROR: -A needs a value\nusage*"},
      {"fs:grep --version=0 x", "ERROR: bad value of --version: '0'\nusage*"},
      {"fs:grep --apply x", "ERROR: unknown flag --apply\nusage*"},
  });
  EXPECT_EQ(registers_->entries(), std::vector<std::string>());
  run("fs:grep -c int");
  EXPECT_EQ(registers_->entries(), (std::vector<std::string>{"src/a.cpp", "top"}));
}

TEST_F(AskTest, GrepReachesEveryVersion) {
  enroll();
  std::string expected;
  for (int i = 1; i <= 70; ++i) {  // more than a start reads
    const std::string number = std::to_string(i);
    run("fsmk:file <path>f</path><content>old " + number + "</content>");
    expected.append("f@v").append(number).append(":1:old ").append(number).append("\n");
  }
  run("fs:rm f");
  start();
  expect({{"fs:grep --all-versions old", expected},
          {"fs:grep --version=3 old", "f@v3:1:old 3\n"},
          {"fs:grep --version=v70 old", "f@v70:1:old 70\n"},
          {"fs:grep --version=71 old", "OK: no match in 0 file(s)"},
          {"fs:grep old", "OK: no match in 0 file(s)"}});
  EXPECT_EQ(registers_->entries().size(), 0U);
}

TEST_F(AskTest, EditsWhatItFinds) {
  put("a", "f(1, 2) f(3,4)\nrest\n");
  put("b", "x\n\nf(5,6)");
  put("c", "f(7,8)\n");
  enroll();
  run("fslock:lock c", "bob");
  expect({
      {"grep:edit f\\((.),\\s*(.)\\) g($2,\\1)",
       "OK: 3 replacement(s) in 2 file(s), 1 file(s) skipped — nothing is written yet: --apply "
       "saves, a version a file\na  (2)\n  1- f(1, 2) f(3,4)\n  1+ g(2,1) g(4,3)\nb  (1)\n  3- "
       "f(5,6)\n  3+ g(6,5)\n  skipped c — locked by bob\n"},
      {"fs:cat a", "f(1, 2) f(3,4)\nrest\n"},
      {"grep:edit f\\((.),\\s*(.)\\) g($2,\\1) --apply",
       "OK: 3 replacement(s) in 2 file(s), 1 file(s) skipped\n  a  v1 -> v2  (2)\n  b  v1 -> v2  "
       "(1)\n  skipped c — locked by bob\n"},
      {"fs:cat a", "g(2,1) g(4,3)\nrest\n"},
      {"fs:cat b", "x\n\ng(6,5)"},
      {"grep:edit f x c --apply", "ERROR: nothing replaced\n  skipped c — locked by bob\n"},
      {"grep:edit f x nofile c --apply", "ERROR: no versioned file fits 'nofile' — nothing*"},
      {"grep:edit zzz x", "OK: no match in 3 file(s)"},
      {"grep:edit g g", "OK: no match in 3 file(s)"},
      {"grep:edit g $1", "ERROR: the pattern has no group $1"},
      {"grep:edit g", "ERROR: usage  grep:edit*"},
      {"grep:edit -v g x", "ERROR: unknown flag -v\nusage  grep:edit*"},
      {"fsvctl:log c", "LOG c  (1 versions)*"},
  });
  EXPECT_EQ(read("b"), "x\n\ng(6,5)");
  const std::pair<std::string, std::string> lines[] = {
      {"-F $ \"$1 \\\"q\\\"\"", "cost $1 \"q\"5 aab\n"},
      {"x* -", "-c-o-s-t- -$-5- -a-a-b-\n"},
      {"(a|(b))+ [$0|$1|$2]", "cost $5 [aab|b|b]\n"},
      {"(a*)(a?)b $1,$2$$\\\\\\t.", "cost $5 aa,$\\\t.\n"},
      {"-w \"(c|co|cost) (.)\" $2$1", "cost $5 aab\n"},
      {"\"(c|co|cost) (.)\" $2$1", "$cost5 aab\n"},
      {"^ \"# \"", "# cost $5 aab\n"},
      {"$ !", "cost $5 aab!\n"},
      {"-i COST \"a\\nb\"", "a\nb $5 aab\n"},
  };
  for (const auto& [words, text] : lines) {
    run("fsmk:file <path>line</path><content>cost $5 aab\n</content>");
    run("grep:edit " + words + " line --apply");
    EXPECT_EQ(run("fs:cat line"), text) << words;
  }
}

TEST_F(AskTest, DiffComparesFilesFoldersAndMoments) {
  put("a/same", "x");
  put("a/d/f", "1\n");
  put("a/gone", "g");
  put("b/same", "x");
  put("b/d/f", "2\n");
  enroll();
  const std::string frame = "\ndiffering files (identical files omitted to spare context):\n";
  const std::string end = "=== END DIRECTORY DIFF ===\n";
  const std::string differences =
      "=== DIRECTORY DIFF ===\nA: a\nB: b" + frame +
      "  [differs]   d/f @A a/d/f (v1) , @B b/d/f (v1)\n  [only in A] gone\n" + end;
  const std::string not_a_file = "=== FILE DIFF ===\nERROR: other side is not a File.\n";
  expect({{"fsvctl:diff a b", differences},
          {"fsvctl:diff a a",
           "=== DIRECTORY DIFF ===\nA: a\nB: a" + frame + "  (none — trees are identical)\n" + end},
          {"fsvctl:diff a/d/f b/d/f",
           "=== FILE DIFF ===\nFILE1: a/d/f  (v1)\nFILE2: b/d/f  (v1)\nlegend: [ ] same   [-] only "
           "in FILE1   [+] only in FILE2\n---\n[-] 1\n[+] 2\n=== END DIFF ===\n"},
          {"fsvctl:diff a/d/f b", not_a_file},
          {"fsvctl:diff a b/d/f", not_a_file},
          {"fsvctl:diff a", "ERROR: a is a folder*"},
          {"fsvctl:diff a nowhere", "ERROR: no such directory: nowhere"},
          {"fsvctl:diff nowhere a", "ERROR: no such file: nowhere"}});
  run("fsvctl:diff a b");
  std::ifstream summary(folder_.path("home") + "/.versioncontrol/_DIFF_SUMMARY.txt");
  std::ostringstream kept;
  kept << summary.rdbuf();
  EXPECT_EQ(kept.str(), differences);
  EXPECT_EQ(run("fsstat:list"), "OK: 2 folder(s), 0 file(s) in " + root_ + "\n  a/\n  b/\n");
  const std::string other = folder_.path("other");
  test::fs::create_directories(other);
  std::ofstream(other + "/same") << "x";
  run("fsvctl:enroll " + other);
  EXPECT_EQ(run("fsvctl:diff " + root_ + "/b " + other), "=== DIRECTORY DIFF ===\nA: " + root_ +
                                                             "/b\nB: " + other + frame +
                                                             "  [only in A] d/f\n" + end);
  free_ = 100;
  const std::string no_memory = " right now — close some things to free RAM and try again";
  EXPECT_EQ(run("fsvctl:diff " + root_ + " " + other),
            "not enough free memory to compare these directories" + no_memory);
  EXPECT_EQ(run("fsvctl:diff " + root_ + "/a/d/f " + root_ + "/b/d/f"),
            "not enough free memory to diff these files right now (2 vs 2 bytes) — close some "
            "things to free RAM and try again");
}

TEST_F(AskTest, DiffComparesAFolderWithItsPast) {
  enroll();
  run("fsmk:file <path>d/a</path><content>1</content>");
  const std::string frame = "\ndiffering files (identical files omitted to spare context):\n";
  const std::string end = "=== END DIRECTORY DIFF ===\n";
  expect({{"fsvctl:diff d 2020-01-01", "=== DIRECTORY DIFF ===\nA: d @ 2020-01-01 00:00:00\nB: d" +
                                           frame + "  [only in B] a\n" + end},
          {"fsvctl:diff d 2020-01-01T10:30 2199-12-31",
           "=== DIRECTORY DIFF ===\nA: d @ 2020-01-01 10:30:00\nB: d @ 2199-12-31 00:00:00" +
               frame + "  [only in B] a\n" + end},
          {"fsvctl:diff d 2020-13-01", "ERROR: no such directory: 2020-13-01"},
          {"fsvctl:diff d 2020-01-01 then", "ERROR: no moment: then"},
          {"fs:rm d/a", "OK: tombstoned d/a*"},
          {"fsvctl:diff d 2020-01-01 2020-01-02", "=== DIRECTORY DIFF ===*"}});
}

/// What a search shows, line by line.
std::string PlainGrep(const std::string& text, const GrepOptions& options) {
  std::vector<std::string> lines;
  for (std::istringstream in(text); in.good();) {
    std::string line;
    if (std::getline(in, line) && !(line.empty() && in.eof())) lines.push_back(line);
  }
  std::string shown;
  std::size_t next = 0;
  std::uint64_t left = options.most;
  bool any = false;
  const auto show = [&](std::size_t to, char mark) {
    for (; next < to; ++next) {
      shown += std::string("p") + mark + std::to_string(next + 1) + mark + lines[next] + "\n";
    }
  };
  for (std::size_t i = 0; i < lines.size() && left > 0; ++i) {
    if (lines[i].contains('a') == options.invert) continue;
    --left;
    if (any) show(std::min(next + options.after, i), '-');
    const std::size_t from = std::max(next, i - std::min(i, options.before));
    if (any && from > next && options.before + options.after > 0) shown += "--\n";
    next = from;
    show(i, '-');
    show(i + 1, ':');
    any = true;
  }
  if (any) show(std::min(next + options.after, lines.size()), '-');
  return shown;
}

TEST(GrepPrinter, EqualsAPlainOne) {
  std::mt19937 random(5);
  for (int round = 0; round < 3000; ++round) {
    std::string text(random() % 40, ' ');
    for (char& c : text) c = "ab\n\n\n"[random() % 5];
    GrepOptions options;
    options.invert = random() % 2 == 0;
    options.before = random() % 3;
    options.after = random() % 3;
    if (random() % 3 == 0) options.most = random() % 4;
    const auto matcher = search::Matcher::make(random() % 2 == 0 ? "a" : "[a]");
    std::string shown;
    GrepPrinter(*matcher, options).run("p", text, shown);
    ASSERT_EQ(shown, PlainGrep(text, options)) << text;
  }
}

TEST(GrepWords, TakesBackWhatQuotingDid) {
  std::mt19937 random(7);
  for (int round = 0; round < 5000; ++round) {
    std::vector<std::string> words(1 + random() % 3);
    std::string line;
    for (std::string& word : words) {
      for (std::size_t i = random() % 6; i > 0; --i) word += "ab \"\\'="[random() % 7];
      const bool quoted = word.empty() || word.find_first_of(" \t\"'") != std::string::npos;
      if (quoted && word.ends_with('\\')) word += '.';  // what such a line means is a guess
      line += line.empty() ? "" : " ";
      if (!quoted) line += word;
      if (!quoted) continue;
      line += '"';
      for (const char c : word) line += c == '"' ? std::string("\\\"") : std::string(1, c);
      line += '"';
    }
    const auto split = SplitGrepWords(line);
    ASSERT_EQ(split.size(), words.size()) << line;
    for (std::size_t i = 0; i < words.size(); ++i) ASSERT_EQ(split[i].text, words[i]) << line;
  }
  EXPECT_EQ(SplitGrepWords("\"a b\\\"")[0].text, "a b\\");
  EXPECT_EQ(SplitGrepWords("'a \"b' --store=\"x y\" \"open")[1].text, "--store=x y");
}

}  // namespace
}  // namespace mrb::vfs
