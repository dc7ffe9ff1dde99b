#include "workstation_fixture.h"

namespace mrb::workstation::test {
namespace {

class MemoryTest : public WorkstationTest {
 protected:
  MemoryTest() {
    remember("addmemo bob, notes, build, , note|usage, the build needs cmake");
    remember("addmemo bob, notes, build, , , builders like queues");
    now_ += 10;
    remember(
        "addmemo bob, notes, odd \xff topic, \"two words\", warning, <script>\x01\xfe</script>");
    now_ += 10;
    remember("addmemo bob, more, plan, , todo, a plan for the build of 2023-05-04");
  }

  /// "n types text" of a topic's memos.
  std::vector<std::string> memos(const std::string& topic) {
    std::vector<std::string> lines;
    for (const JsonValue& memo : get("memory/memos?context=notes&topic=" + topic).list("memos")) {
      std::string line(memo.find("n").raw());
      for (const JsonValue& type : memo.find("types").elements()) line += " " + type.text();
      lines.push_back(line + ": " + memo.find("text").text());
    }
    return lines;
  }

  /// "context/topic#n how(term word) …" of each hit.
  std::vector<std::string> hits(const std::string& query) {
    std::vector<std::string> lines;
    for (const JsonValue& hit : get("memory/search?" + query).list("hits")) {
      std::string line = hit.find("context").text() + "/" + hit.find("topic").text() + "#" +
                         std::string(hit.find("n").raw());
      for (const JsonValue& why : hit.find("why").elements()) {
        line += " " + why.find("how").text() + "(" + why.find("term").text() + " " +
                why.find("word").text() + ")";
      }
      for (const JsonValue& lane : hit.find("lanes").elements()) line += " " + lane.text();
      lines.push_back(line);
    }
    return lines;
  }

  std::string mark(const std::string& topic, int n) {
    return get("memory/memo?context=notes&topic=" + topic + "&n=" + std::to_string(n)).text("mark");
  }
  Reply undo(const Reply& change) {
    return post("memory/undo", "undo=" + std::to_string(change.number("undo")));
  }
};

using Strings = std::vector<std::string>;

TEST_F(MemoryTest, ListsContextsTopicsAndMemos) {
  const Reply contexts = get("memory/contexts");
  EXPECT_EQ(contexts.list("types").size(), 16);
  EXPECT_EQ(contexts.list("contexts").at(1).find("memos").integer(), 3);
  EXPECT_EQ(get("memory/topics?context=notes&order=size").list("topics").at(0).find("topic").text(),
            "build");
  const Reply recent = get("memory/topics?context=notes&order=recent&limit=1");
  EXPECT_EQ(recent.number("total"), 2);
  const std::string key = recent.list("topics").at(0).find("topic_key").text();
  EXPECT_EQ(DecodeForm(key), "odd \xff topic");
  EXPECT_EQ(memos(key), Strings{"1 warning: <script>\x01\uFFFD</script>"});
  EXPECT_EQ(get("memory/memo?context=notes&n=1&topic=" + key).list("given").at(0).text(),
            "two words");
  EXPECT_EQ(get("memory/topics?context=notes&filter=BUIL").number("total"), 1);
  EXPECT_EQ(memos("build"),
            (Strings{"1 note usage: the build needs cmake", "2: builders like queues"}));
}

TEST_F(MemoryTest, ShowsWhatWasWrittenLast) {
  Strings seen;
  for (int offset = 0; offset < 4; offset += 2) {
    const Reply page =
        get("memory/recent?contexts=notes/more&limit=2&offset=" + std::to_string(offset));
    for (const JsonValue& memo : page.list("memos")) {
      seen.push_back(memo.find("topic").text() + "#" + std::string(memo.find("n").raw()));
    }
    EXPECT_EQ(page.root().find("more").boolean(), offset == 0);
  }
  EXPECT_EQ(seen, (Strings{"plan#1", "odd \uFFFD topic#1", "build#2", "build#1"}));
}

TEST_F(MemoryTest, SearchesWhileTypingAndSaysWhy) {
  EXPECT_EQ(hits("contexts=notes&q=needs+buil"),
            (Strings{"notes/build#1 exact(needs needs) starts(buil build) words",
                     "notes/build#2 starts(buil builders) words"}));
  EXPECT_EQ(hits("contexts=notes&q=buil+"), Strings{});
  EXPECT_EQ(hits("q=queue"), Strings{"notes/build#2 related(queue queues) words"});
  EXPECT_EQ(hits("q=b"), Strings{});
  EXPECT_EQ(hits("contexts=more&deep=1&q=2023-05-04"),
            Strings{"more/plan#1 exact(2023 2023) exact(05 05) exact(04 04) words date"});
}

TEST_F(MemoryTest, EveryChangeCanBeTakenBackOnce) {
  const Strings before = memos("build");
  const Reply removed =
      post("memory/delete", "context=notes&topic=build&n=1&mark=" + mark("build", 1));
  EXPECT_EQ(memos("build"), Strings{"1: builders like queues"});
  undo(removed);
  EXPECT_EQ(memos("build"), before);
  EXPECT_EQ(undo(removed).status, "404 Not Found");

  const std::string seen = mark("build", 2);
  const std::string change = "context=notes&topic=build&n=2&types=todo&content=changed&mark=";
  const Reply changed = post("memory/update", change + seen);
  EXPECT_EQ(memos("build").at(1), "2 todo: changed");
  EXPECT_EQ(post("memory/update", change + seen).status, "400 Bad Request");
  undo(changed);
  EXPECT_EQ(memos("build"), before);

  const Reply topic = post("memory/delete", "context=notes&topic=build");
  EXPECT_EQ(memos("build"), Strings{});
  remember("addmemo bob, notes, build, , , meanwhile");
  undo(topic);
  EXPECT_EQ(memos("build").size(), 3);
  EXPECT_EQ(memos("build").at(2), "3: meanwhile");

  const Reply added =
      post("memory/add", "context=notes&topic=a%2C+b&content=x%2C+y&keywords=%22k+w%22");
  EXPECT_EQ(memos("a%2C+b"), Strings{"1: x, y"});
  EXPECT_EQ(hits("contexts=notes&q=k+w").size(), 1);
  undo(added);
  EXPECT_EQ(memos("a%2C+b"), Strings{});
}

TEST_F(MemoryTest, ExportsAStoreThatCanBeImported) {
  const server::Response file = raw("GET /ui/api/memory/download?context=notes");
  EXPECT_EQ(file.body.substr(0, 4), "MRB4");
  EXPECT_NE(file.headers.find("filename=\"notes.mrb4\""), std::string::npos);
  const std::string to = EncodeForm(folder_.path());
  EXPECT_EQ(post("memory/export", "context=notes&path=" + to).number("bytes"),
            static_cast<std::int64_t>(file.body.size()));
  EXPECT_TRUE(remember("import bob, twin, " + folder_.path("notes.mrb4")).starts_with("OK"));
}

TEST_F(MemoryTest, RefusesInJsonAndTellsOfWrites) {
  for (const std::string line :
       {"GET memory/topics", "GET memory/topics?context=none", "GET memory/topics?context=..%2Fx",
        "GET memory/topics?context=notes&order=odd",
        "GET memory/memo?context=notes&topic=build&n=9", "GET memory/search",
        "GET memory/recent?contexts=a%00b", "GET memory/download?context=none",
        "POST memory/add context=notes&topic=t", "POST memory/add context=..&topic=t&content=x",
        "POST memory/add context=notes&topic=t&content=x&types=odd",
        "POST memory/delete context=none&topic=t", "POST memory/delete context=notes&topic=t",
        "POST memory/undo undo=99", "POST memory/export context=notes&path=relative"}) {
    const auto words = SplitWords(line);
    const Reply reply = this->reply(raw(std::string(words[0]) + " /ui/api/" + std::string(words[1]),
                                        std::string(words.size() > 2 ? words[2] : "")));
    EXPECT_TRUE(reply.status.starts_with("40")) << line << ": " << reply.status;
  }
  const std::string begin = std::to_string(get("events").number("next"));
  remember("rename bob, more, other");
  const auto events = get("events?after=" + begin).list("events");
  ASSERT_FALSE(events.empty());
  EXPECT_EQ(events.back().find("what").text() + " " + events.back().find("context").text(),
            "moved other");
}

}  // namespace
}  // namespace mrb::workstation::test
