// Questions to whole trees: queries.

#include <gtest/gtest.h>

#include <algorithm>

#include "vfs/version_record.h"
#include "vfs_service_fixture.h"

namespace mrb::vfs {
namespace {

class AskTest : public test::ServiceFixture {
 protected:
  std::string query(const std::string& expression, const std::string& options = "") {
    return service_->query({.author = "ann", .working_directory = root_, .registers = registers_},
                           expression, options);
  }

  /// The paths of a query's lines, with blanks between them; any other answer as it is.
  std::string matches(const std::string& expression) {
    const std::string answer = query(expression);
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
      {"path()==\"" + root_ + "/notes*\" && !path(\"notes.md\") && glob(\"notes.md\")", "notes.md"},
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
  const std::string stamp = StampText(service_->registry().active()->find("a.md")->stamp);
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

}  // namespace
}  // namespace mrb::vfs
