// Model types and the semantic lane: overlays and their files, the worklist, keys, recall by
// vector, and the client of the embedding server.

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "common/answer.h"
#include "memory/context/context_store.h"
#include "memory/embedding/embed_settings.h"
#include "memory/embedding/embedder.h"
#include "memory/recall/fused_search.h"
#include "memory_home.h"
#include "platform/sockets.h"

namespace mrb::memory {
namespace {

using test::MemoryHome;
using namespace std::string_literals;

/// Vectors of two words: how much of "cat" and of "dog" is in a text. Can be switched off.
class Models : public testing::Test {
 protected:
  Models() {
    MemoryHome::Options options;
    options.embedder = [this](const std::string& model,
                              std::string_view text) -> Result<std::vector<float>> {
      ++calls_;
      if (!reachable_ || text.contains("unspeakable")) {
        return Fail(reachable_ ? ErrorKind::kIo : ErrorKind::kUnavailable, "nobody there");
      }
      EXPECT_EQ(model, "nomic-embed-text");
      const auto count = [&](std::string_view word) {
        float n = 0.01F;
        for (std::size_t at = 0; (at = text.find(word, at)) != text.npos; ++at) ++n;
        return n;
      };
      return std::vector<float>{count("cat"), count("dog")};
    };
    home_.set(options);
  }

  void expect(const std::string& line, const std::string& answer) {
    EXPECT_EQ(home_.run(line), answer) << line;
  }

  MemoryHome home_;
  bool reachable_ = true;
  int calls_ = 0;
};

TEST_F(Models, KeysAWorklist) {
  expect("models me, c",
         "OK: no model types registered with context 'c'  (memory.cachekeys <botid>, "
         "c, <modeltype> registers one)");
  for (const char* text : {"red cat", "blue dog", "green bird"}) {
    (void)home_.run("addmemo me, c, t, , note, "s + text);
  }
  expect(
      "cachekeys me, c, gpt, 2",
      "OK: model type 'gpt' REGISTERED with context 'c' — 0 topic label(s), 0 memo(s) keyed, mark "
      "@0\nYOUR TOPIC TABLE (label  memos):\n  (no label yet)\nEMBED — page of 2 of 3 unkeyed "
      "memo(s): read each memo, generate the topic label your weights recall it by (snap to a "
      "label above when one fits), then\n  memory.cachekey <botid>, c, @<off>=<label>; "
      "@<off>=<label>; ...\n  @0  t#1 [note]  red cat\n  @46  t#2 [note]  blue dog\nThen "
      "memory.cachekeys again for the next page; your recall unblocks when the worklist is empty.");
  expect("modelkeywords me, c, gpt, cat",
         "ERROR: model type 'gpt' is BEHIND in context 'c' — 3 memo(s) above its mark are unkeyed; "
         "run  memory.cachekeys <botid>, c, gpt  and key them first");
  expect(
      "cachekey me, c, gpt, @0=pets, small; t#3=birds; @1=x; t#9=x; word; @46= ;; nothing=x",
      "OK: 2 memo(s) keyed for model type 'gpt'; 2 label(s) in its table, mark @46\nREJECTED:\n  "
      "@1=x  (dead offset or empty label)\n  t#9=x  (not a memo: use @<off> from the worklist or "
      "<topic>#<n>)\n  word  (no '=')\n  @46=  (dead offset or empty label)\n  nothing=x  (not a "
      "memo: use @<off> from the worklist or <topic>#<n>)");
  expect(
      "cachekey me, c, gpt, t#3=pets, small; t#2=dogs",
      "OK: 2 memo(s) keyed for model type 'gpt' (1 moved between labels); 3 label(s) in its table, "
      "mark @146");
  home_.reopen();
  expect("modelkeywords me, c, GPT, small things",
         "OK: 2 memo(s) for 'small things' by model type 'gpt', topic table:\n  t#1 [note]  "
         "label=pets, small\n  t#3 [note]  label=pets, small");
  expect("modelkeywords me, c, gpt, bird", "OK: no memo under 'gpt' labels matches 'bird'");
  expect("cachekeys me, c, gpt",
         "OK: model type 'gpt' loaded from context 'c' — 3 topic label(s), 3 memo(s) keyed, mark "
         "@146\nYOUR TOPIC TABLE (label  memos):\n  pets, small  2\n  birds  0\n  dogs  "
         "1\nCURRENT — nothing to key.");
  EXPECT_TRUE(
      home_.run("addmemo gpt, c, t, , , new cat")
          .ends_with(
              "\n(key it for your model type now: memory.cachekey <botid>, <context>, <modeltype>, "
              "@<off>=<label>)"));
  expect("models me, c",
         "OK: 1 model type(s) in context 'c' (1 writer topics, 4 memos)\n  gpt  labels "
         "3  keyed 3  mark @146  BEHIND by 1 memo(s)");
  EXPECT_NE(home_.run("stats me, c")
                .find("models:    1 type(s), 3 memo key(s)\n    gpt: 3 label(s), 3 "
                      "keyed, mark @146 behind by 1"),
            std::string::npos);
  expect("forgetmodel me, c, gpt",
         "OK: model type 'gpt' forgotten in context 'c' (its topic table, "
         "keys and overlay file dropped; memos untouched)");
  EXPECT_FALSE(home_.exists("c", "model-gpt.ovm"));
  expect("forgetmodel me, c, gpt",
         "ERROR: model type 'gpt' is not registered with context 'c'  (memory.cachekeys registers "
         "it)");
  EXPECT_TRUE(home_.run("cachekeys me, c, gpt").starts_with("OK: model type 'gpt' REGISTERED"));
  EXPECT_TRUE(IsErrorAnswer(home_.run("cachekeys me, c, ../up")));
}

TEST_F(Models, RecallsByVector) {
  expect("semantic me, c, x",
         "ERROR: context 'c' has no embeddings — arm it (memory.embed on) and add "
         "memos first");
  (void)home_.run("addmemo me, c, t, , , cat before the lane");
  expect("embed me, c, status", "OK: semantic lane for 'c' is disarmed; stored vectors: 0");
  const std::string armed =
      "; local embedder 'nomic-embed-text' registered as a model type — run  memory.cachekeys "
      "<botid>, c, local  to key the memos (headless, a vector each) — new memos embedded at "
      "ingest "
      "(needs ollama nomic-embed-text)";
  expect("embed me, c, on", "OK: semantic lane for 'c' is ARMED; stored vectors: 0" + armed);
  EXPECT_EQ(home_.read("c", "embed.cfg"), "EmbedLane=on\nEmbedderModel=nomic-embed-text\n");
  (void)home_.run("addmemo me, {c, d}, t, , note, cat cat");
  (void)home_.run("addmemo me, c, t, , , dog cat");
  (void)home_.run("addmemo me, c, t, , , to change");
  (void)home_.run("update me, c, t, 4, , , dog dog");
  expect("semantic me, c, my dog",
         "OK: 3 semantic match(es) for 'my dog':\n  t#4 [untyped]  cos=1.000  dog dog\n  t#3 "
         "[untyped]  cos=0.714  dog cat\n  t#2 [note]  cos=0.015  cat cat");
  expect("embed me, c, status", "OK: semantic lane for 'c' is ARMED; stored vectors: 3" + armed);
  EXPECT_TRUE(home_.run("keywords me, c, cat")
                  .starts_with("OK: 4 memo(s), keyword+semantic fused (RRF):\n  t#2 [note] cat cat "
                               "rrf=0.0325 kw+sem\n  t#3 "
                               "[untyped] dog cat rrf=0.0320 kw+sem\n  t#1 [untyped] cat before "
                               "the lane rrf=0.0164 kw\n  "
                               "t#4"));
  reachable_ = false;
  expect("addmemo me, c, t, , , late cat",
         "OK: memo 5 @236 appended to 't' in context(s): c  [stored without a vector: embedder "
         "unreachable (ollama nomic-embed-text): nobody there]");
  expect("semantic me, c, dog",
         "ERROR: embedder unreachable (ollama nomic-embed-text) — cannot embed the query");
  EXPECT_TRUE(home_.run("keywords me, c, late").starts_with("OK: 1 memo hit(s):"));
  expect("embed me, c, off", "OK: semantic lane for 'c' is disarmed; stored vectors: 3");
  EXPECT_TRUE(home_.run("embed me, c, maybe").starts_with("ERROR: usage  memory.embed "));
}

TEST_F(Models, KeysByVectorWithoutAModel) {
  for (const char* text : {"cat", "unspeakable", "dog"}) {
    (void)home_.run("addmemo me, c, t, , , "s + text);
  }
  expect("cachekeys me, c, local, 2",
         "OK: model type 'local' REGISTERED with context 'c' — 0 topic label(s), 0 memo(s) keyed, "
         "mark "
         "@0\nheadless pass: 1 memo(s) embedded by 'nomic-embed-text', 1 FAILED (embedder "
         "unreachable? "
         "ollama nomic-embed-text) — still above the mark, mark @35, 2 memo(s) still to embed "
         "(memory.cachekeys for the next page)\nUNKEYED (embedder call failed — re-run "
         "memory.cachekeys once the local model answers):\n  @35  t#2 [untyped]  unspeakable");
  (void)home_.run("update me, c, t, 2, , , speakable");
  EXPECT_TRUE(
      home_.run("cachekeys me, c, local")
          .ends_with(
              "\nheadless pass: 2 memo(s) embedded by 'nomic-embed-text', mark @117, CURRENT"));
  home_.reopen();
  EXPECT_TRUE(home_.run("modelkeywords me, c, local, a dog")
                  .starts_with("OK: 3 memo(s) for 'a dog' by model type 'local', vector keys "
                               "(cosine):\n  t#3 [untyped]  cos=1.000\n  t#2 [untyped]  cos=0.71"));
  expect(
      "cachekey me, c, local, @0=x",
      "ERROR: model type 'local' is the local embedder — its keys are vectors it computes itself "
      "(memory.cachekeys <botid>, c, local)");
  reachable_ = false;
  expect("modelkeywords me, c, local, dog",
         "ERROR: local embedder 'nomic-embed-text' did not answer "
         "for the query (ollama nomic-embed-text)");
  for (int i = 0; i < 5; ++i) (void)home_.run("addmemo me, c, t, , , more");
  calls_ = 0;
  (void)home_.run("cachekeys me, c, local");
  EXPECT_EQ(calls_, 1) << "nobody there: the rest of the page is not tried";
  EXPECT_TRUE(home_.run("models me, c")
                  .ends_with("BEHIND by 5 memo(s)  (local embedder — vector "
                             "keys, headless pass)"));
}

/// Keys follow their memos through every rewrite: an obvious model of memos with labels.
TEST_F(Models, KeysFollowTheirMemos) {
  std::mt19937 random(11);
  std::vector<std::pair<std::string, std::string>> memos;  // text, label
  (void)home_.run("addmemo me, c, keep, , , first");
  (void)home_.run("cachekeys me, c, m");
  for (int step = 0; step < 150; ++step) {
    const std::size_t n = memos.empty() ? 0 : random() % memos.size();
    const std::string topic_n = "me, c, t, " + std::to_string(n + 1);
    switch (memos.empty() ? 0 : random() % 6) {
      case 0:
      case 1:
        memos.emplace_back("text " + std::string(random() % 9, 'x'), "");
        (void)home_.run("addmemo me, c, t, , , " + memos.back().first);
        break;
      case 2:
        (void)home_.run("deletememo " + topic_n);
        memos.erase(memos.begin() + static_cast<std::ptrdiff_t>(n));
        break;
      case 3:
        memos[n] = {"new " + std::string(random() % 9, 'y'), ""};
        (void)home_.run("update " + topic_n + ", , , " + memos[n].first);
        break;
      case 4:
        memos[n].second = "l" + std::to_string(random() % 3);
        (void)home_.run("cachekey me, c, m, t#" + std::to_string(n + 1) + "=" + memos[n].second);
        break;
      default:
        home_.reopen();
    }
    std::size_t keyed = 0;
    std::string listed = home_.run("cachekeys me, c, m, 9999");
    for (std::size_t i = 0; i < memos.size(); ++i) {
      keyed += memos[i].second.empty() ? 0 : 1;
      const bool waits = listed.contains(" t#" + std::to_string(i + 1) + " [");
      ASSERT_EQ(waits, memos[i].second.empty()) << "step " << step << " memo " << i << listed;
    }
    ASSERT_TRUE(listed.contains(", " + std::to_string(keyed) + " memo(s) keyed, mark @0"))
        << listed;
  }
}

TEST(Overlays, FilesAreReadBackOrRefused) {
  Overlay overlay("gpt");
  overlay.set_key(100, overlay.intern("pets"));
  overlay.set_key(24, overlay.intern(""));
  overlay.set_vector(7, std::vector<float>{1.5F, -2});
  const std::string bytes = EncodeOverlay(overlay);
  EXPECT_EQ(bytes,
            "OVM1\x03\0\0\0gpt\x02\0\0\0\x04\0\0\0pets\0\0\0\0\x02\0\0\0"
            "\x18\0\0\0\0\0\0\0\x01\0\0\0\x64\0\0\0\0\0\0\0\0\0\0\0"
            "\x01\0\0\0\x07\0\0\0\0\0\0\0\x02\0\0\0\0\0\xc0\x3f\0\0\0\xc0"s);
  const auto read = DecodeOverlay(bytes);
  ASSERT_TRUE(read);
  EXPECT_EQ(EncodeOverlay(*read), bytes);
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_FALSE(DecodeOverlay(bytes.substr(0, length))) << length;
  }
  EXPECT_FALSE(DecodeOverlay(bytes + "x"));
  MemoryHome home;
  (void)home.run("add me, c, t, , text");
  home.write("c", "model-gpt.ovm", bytes.substr(0, 40));
  home.reopen();
  EXPECT_TRUE(home.run("stats me, c").contains("model-gpt.ovm is damaged and left alone"));
  EXPECT_EQ(home.read("c", "model-gpt.ovm"), bytes.substr(0, 40));
}

TEST(Embedder, ReadsSettingsAddressesAndAnswers) {
  const std::pair<const char*, EmbedSettings> settings[] = {
      {"", {false, "nomic-embed-text"}},
      {" EmbedLane = ON\t\r\nEmbedderModel=\tother:v1 \r\n", {true, "other:v1"}},
      {"EmbedLane=1\nEmbedLane=off\nEmbedderModel=\n", {false, "nomic-embed-text"}},
  };
  for (const auto& [text, expected] : settings) {
    EXPECT_EQ(ParseEmbedSettings(text), expected) << text;
    EXPECT_EQ(ParseEmbedSettings(FormatEmbedSettings(expected)), expected) << text;
  }
  const std::pair<const char*, EmbedderAddress> good[] = {
      {"", {0x7F000001, 11434}},
      {"http://10.1.2.3:80/", {0x0A010203, 80}},
      {"LocalHost:5", {0x7F000001, 5}},
      {"0.0.0.0", {0x7F000001, 11434}},
  };
  for (const auto& [text, address] : good) EXPECT_EQ(ParseEmbedderAddress(text).value(), address);
  for (const char* bad :
       {"https://x", "1.2.3", "1.2.3.256", ":0", ":65536", "host:1", "1.2.3.4:x"}) {
    EXPECT_FALSE(ParseEmbedderAddress(bad)) << bad;
  }
  using Vector = std::vector<float>;
  EXPECT_EQ(ParseEmbedding(R"({"embedding":[1, -2.5e1]})").value(), (Vector{1, -25}));
  EXPECT_EQ(ParseEmbedding(R"({"model":"m","embeddings":[[0.5],[1]]})").value(), (Vector{0.5}));
  for (const char* bad :
       {"", "{}", R"({"embedding":[]})", R"({"embeddings":[]})", R"({"embedding":["1"]})",
        R"({"embedding":[1e99]})", R"({"error":"no"})"}) {
    EXPECT_FALSE(ParseEmbedding(bad)) << bad;
  }
}

TEST(Embedder, AsksAServer) {
  ASSERT_TRUE(platform::StartSockets());
  auto listener = platform::Listener::listen(0, true);
  ASSERT_TRUE(listener);
  std::string request;
  std::thread server([&] {
    auto peer = listener->accept();
    ASSERT_TRUE(peer);
    char buffer[4096];
    while (!request.contains("\"prompt\":\"a \\\"b\\\"\\n\"}")) {
      const auto got = peer->socket.receive(buffer, sizeof buffer);
      ASSERT_TRUE(got && *got > 0);
      request.append(buffer, *got);
    }
    (void)peer->socket.send_all(
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
        "10\r\n{\"embedding\":[1,\r\n3\r\n2]}\r\n0\r\n\r\n");
    (void)listener->accept();  // takes the second call and never answers it
  });
  const EmbedderAddress address{0x7F000001, listener->port()};
  using namespace std::chrono_literals;
  EXPECT_EQ(HttpEmbedder(address)("m", "a \"b\"\n").value(), (std::vector<float>{1, 2}));
  EXPECT_TRUE(request.starts_with("POST /api/embeddings HTTP/1.1\r\n"));
  const auto silent = HttpEmbedder(address, {500ms, 50ms})("m", "x");
  EXPECT_FALSE(silent);
  server.join();
  listener->stop();
  *listener = platform::Listener();
  const auto nobody = HttpEmbedder(address)("m", "x");
  ASSERT_FALSE(nobody);
  EXPECT_EQ(nobody.error().kind, ErrorKind::kUnavailable);
}

TEST(Fusion, AddsReciprocalRanks) {
  const auto hits = Fuse({{{5, 9}, {5, 7}, {9}}});
  ASSERT_EQ(hits.size(), 3U);
  EXPECT_EQ(hits[0].row, 5U);
  EXPECT_DOUBLE_EQ(hits[0].score, 2.0 / 61);
  EXPECT_EQ(hits[0].ranker_names(), "kw+sem");
  EXPECT_EQ(hits[1].ranker_names(), "kw+tm");
  EXPECT_EQ(hits[2].row, 7U);
}

TEST(Nearest, EqualsTheSlowWay) {
  std::mt19937 random(5);
  std::normal_distribution<float> normal;
  for (const std::size_t dimension : {1U, 3U, 16U, 33U, 768U}) {
    std::vector<float> flat;
    const std::size_t rows = dimension == 768 ? 3000 : 300;  // the last is shared by threads
    for (std::size_t row = 0; row < rows; ++row) {
      std::vector<float> vector(dimension);
      for (float& value : vector) value = normal(random);
      const auto unit = Normalised(vector);
      flat.insert(flat.end(), unit.begin(), unit.end());
    }
    const std::span<const float> query = std::span(flat).subspan(5 * dimension, dimension);
    std::vector<std::pair<double, std::uint32_t>> expected;
    for (std::uint32_t row = 0; row < rows; ++row) {
      double sum = 0;
      for (std::size_t i = 0; i < dimension; ++i) {
        sum += double{flat[row * dimension + i]} * double{query[i]};
      }
      if (sum > 1e-5) expected.emplace_back(-sum, row);
    }
    std::ranges::sort(expected);
    const auto near = FindNearest(flat, query, 10);
    ASSERT_EQ(near.size(), std::min<std::size_t>(10, expected.size())) << dimension;
    for (std::size_t i = 0; i < near.size(); ++i) {
      EXPECT_NEAR(-expected[i].first, double{near[i].cosine}, 1e-5) << dimension;
    }
    EXPECT_EQ(dimension == 1 ? 5U : near[0].place, 5U);
  }
}

}  // namespace
}  // namespace mrb::memory
