#include <thread>

#include "workstation_fixture.h"

namespace mrb::workstation::test {
namespace {

class FilesTest : public WorkstationTest {
 protected:
  FilesTest() {
    run("fsvctl", "enroll", "<path>" + tree() + "</path> watch=off confirm=watchoff");
    put("d/a.txt", "one\ntwo\nthree\n");
    put("d/a.txt", "one\n2\nthree\nfour\n");
    put("b.bin", std::string("\0\xff", 2));
    put("gone.md", "<script>alert(1)</script>");
    run("fs", "rm", "gone.md");
    store_ = get("files/stores").list("stores").front().find("id").text();
  }

  std::string on(const std::string& route, const std::string& path, const std::string& more = "") {
    return route + "?store=" + store_ + "&path=" + EncodeForm(path) + more;
  }

  std::string store_;
};

TEST_F(FilesTest, ListsWhatThereIs) {
  const Reply stores = get("files/stores");
  EXPECT_EQ(stores.list("stores").front().find("files").integer(), 2);
  EXPECT_EQ(stores.list("stores").front().find("deleted").integer(), 1);
  const Reply root = get("files/folder?deleted=1&store=" + store_);
  ASSERT_EQ(root.number("total"), 3);
  EXPECT_EQ(root.list("entries")[0].find("folder").text(), "d");
  EXPECT_EQ(root.list("entries")[2].find("deleted").boolean(), true);
  const Reply second = get("files/folder?deleted=1&offset=1&limit=1&store=" + store_);
  EXPECT_EQ(second.list("entries").at(0).find("path").text(), "b.bin");
  const Reply below = get("files/folder?folder=d&store=" + store_);
  EXPECT_EQ(below.list("entries").at(0).find("path").text(), "d/a.txt");
  EXPECT_EQ(get("files/names?q=A.T").list("files").at(0).find("file").find("version").integer(), 2);
  EXPECT_EQ(get("files/names?q=*.md").number("total"), 0);
}

TEST_F(FilesTest, TimelineGoesBackPageByPage) {
  std::vector<std::string> seen;
  std::string before;
  for (bool more = true; more;) {
    const Reply page = get("files/timeline?limit=2&before=" + before);
    for (const JsonValue& change : page.list("changes")) {
      seen.push_back(change.find("kind").text() + " " + change.find("path").text());
    }
    before = page.text("before");
    more = page.root().find("more").boolean() == true;
  }
  EXPECT_EQ(seen, (std::vector<std::string>{"delete gone.md", "create gone.md", "create b.bin",
                                            "modify d/a.txt", "create d/a.txt"}));
  EXPECT_EQ(get("files/timeline?author=bob&path=d").list("changes").size(), 2);
  EXPECT_EQ(get("files/timeline?author=eve").list("changes").size(), 0);
  EXPECT_EQ(get("files/timeline?since=2999-01").list("changes").size(), 0);
  run("fs", "move", "d/a.txt d/c.txt");
  EXPECT_EQ(get(on("files/timeline", "d/c.txt")).list("changes").at(0).find("kind").text(), "move");
  EXPECT_EQ(get(on("files/versions", "d/c.txt")).number("total"), 2);
}

TEST_F(FilesTest, ShowsBytesAndDifferences) {
  EXPECT_EQ(get(on("files/bytes", "d/a.txt", "&version=1")).text("text"), "one\ntwo\nthree\n");
  EXPECT_EQ(get(on("files/bytes", "d/a.txt", "&offset=4&limit=2")).text("text"), "2\n");
  EXPECT_EQ(get(on("files/bytes", "b.bin")).root().find("binary").boolean(), true);
  EXPECT_EQ(get(on("files/bytes", "gone.md")).text("text"), "<script>alert(1)</script>");
  const Reply diff = get(on("files/diff", "d/a.txt", "&a=1&b=2&context=0"));
  std::string script;
  for (const JsonValue& run : diff.list("runs")) {
    script += run.find("change").text() + std::string(run.find("count").raw()) + " ";
    for (const JsonValue& line : run.find("lines").elements()) script += line.text() + " ";
  }
  EXPECT_EQ(script, "same1 removed1 two added1 2 same1 added1 four ");
  EXPECT_EQ(diff.number("added"), 2);
  EXPECT_EQ(get(on("files/diff", "d/a.txt", "&a=0&b=1")).number("added"), 3);
}

TEST_F(FilesTest, RestoresAndReverts) {
  EXPECT_EQ(post("files/restore", "store=" + store_ + "&path=gone.md").number("version"), 3);
  EXPECT_EQ(post("files/revert", "store=" + store_ + "&path=d/a.txt&version=1").number("version"),
            3);
  const Reply versions = get(on("files/versions", "d/a.txt"));
  EXPECT_EQ(versions.list("versions").at(0).find("author").text(), "ann");
  EXPECT_EQ(get(on("files/bytes", "d/a.txt")).text("text"), "one\ntwo\nthree\n");
  run("fslock", "lock", "d/a.txt");
  const Reply refused = post("files/revert", "store=" + store_ + "&path=d/a.txt&version=2");
  EXPECT_EQ(refused.text("error"), "file is locked (bob)");
}

TEST_F(FilesTest, ListsVersionsThatOnlyTheMirrorHas) {
  constexpr int kVersions = 200;  // more than are held
  for (int i = 3; i <= kVersions; ++i) put("d/a.txt", std::to_string(i));
  const Reply page = get(on("files/versions", "d/a.txt", "&offset=198&limit=5"));
  EXPECT_EQ(page.number("total"), kVersions);
  EXPECT_EQ(page.list("versions").at(1).find("version").integer(), 1);
  EXPECT_EQ(page.list("versions").at(1).find("author").text(), "bob");
  EXPECT_EQ(get(on("files/bytes", "d/a.txt", "&version=1")).text("text"), "one\ntwo\nthree\n");
}

TEST_F(FilesTest, TellsWhoWaits) {
  const std::string begin = std::to_string(get("events").number("next"));
  std::thread writer([this] { put("new.txt", "x"); });
  const Reply batch = get("events?after=" + begin);
  writer.join();
  const JsonValue event = batch.list("events").at(0);
  EXPECT_EQ(event.find("kind").text() + event.find("what").text(), "filecreate");
  EXPECT_EQ(event.find("path").text(), "new.txt");
  EXPECT_EQ(get("events?after=7").root().find("missed").boolean(), true);
  activity_.events().close();
  EXPECT_TRUE(get("events?after=" + std::to_string(batch.number("next"))).list("events").empty());
}

TEST(EventFeedTest, KeepsTheLastAndBoundsWhoWaits) {
  EventFeed feed(100, {.kept = 3, .waiting = 0, .answered = 2});
  for (const char* event : {"a", "b", "c", "d"}) feed.add(event);
  EXPECT_TRUE(feed.wait(99, {})->missed);
  const auto batch = feed.wait(100, {});
  EXPECT_EQ(batch->events, (std::vector<std::string>{"b", "c"}));
  EXPECT_EQ(feed.wait(batch->last, {})->events, std::vector<std::string>{"d"});
  EXPECT_EQ(feed.wait(103, {}).error().kind, ErrorKind::kBusy);
}

TEST_F(FilesTest, RefusesInJson) {
  struct Case {
    std::string line;
    std::string status;
  };
  const std::string store = "?store=" + store_;
  const Case cases[] = {
      {"GET /ui/api/none", "404 Not Found"},
      {"POST /ui/api/status", "405 Method Not Allowed"},
      {"GET /ui/api/files/revert", "405 Method Not Allowed"},
      {"GET /ui/api/files/folder", "400 Bad Request"},
      {"GET /ui/api/files/folder?store=x%ff%22", "404 Not Found"},
      {"GET /ui/api/files/folder" + store + "&offset=-1", "400 Bad Request"},
      {"GET /ui/api/files/versions" + store, "400 Bad Request"},
      {"GET /ui/api/files/versions" + store + "&path=no%ff%00", "404 Not Found"},
      {"GET /ui/api/files/bytes" + store + "&path=b.bin&version=9", "404 Not Found"},
      {"GET /ui/api/files/diff" + store + "&path=b.bin&a=1&b=x", "400 Bad Request"},
      {"GET /ui/api/files/timeline?since=yesterday", "400 Bad Request"},
      {"GET /ui/api/files/names", "400 Bad Request"},
      {"GET /ui/api/events?after=x", "400 Bad Request"},
  };
  for (const Case& one : cases) EXPECT_EQ(reply(raw(one.line)).status, one.status) << one.line;
}

TEST_F(FilesTest, NamesOfAnyBytesCanBeAskedFor) {
  if (platform::PathSeparator() == '\\') return;  // the system has no such names
  const std::string name = "\xff<b>\"\x01.txt";
  put(name, "x");
  const Reply found = get("files/names?q=*b*.txt");
  const JsonValue file = found.list("files").at(0).find("file");
  EXPECT_NE(file.find("path").text(), name);
  const std::string key = file.find("path_key").text();
  EXPECT_EQ(DecodeForm(key), name);
  EXPECT_EQ(get("files/bytes?store=" + store_ + "&path=" + key).text("text"), "x");
}

TEST_F(FilesTest, SaysHowTheResidentIs) {
  remember("add bob, notes, t, , words");
  const Reply status = get("status");
  EXPECT_EQ(status.text("version"), "2.0.0");
  EXPECT_EQ(status.list("roots").at(0).find("watched").boolean(), false);
  EXPECT_EQ(status.list("lanes").at(0).find("context").text(), "notes");
}

}  // namespace
}  // namespace mrb::workstation::test
