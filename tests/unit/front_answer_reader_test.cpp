#include "front/client/answer_reader.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace mrb::front {
namespace {

std::string Read(std::string_view answer, std::size_t bytes_at_once) {
  std::string text;
  AnswerReader reader([&](std::string_view piece) { text += piece; });
  for (; !answer.empty(); answer.remove_prefix(std::min(answer.size(), bytes_at_once))) {
    reader.feed(answer.substr(0, bytes_at_once));
  }
  reader.finish();
  return text;
}

TEST(AnswerReaderTest, GivesOutTheTextHoweverItsBytesCome) {
  const std::pair<const char*, const char*> cases[] = {
      {R"({"ok":true,"out":"a\"b\nc"})", "a\"b\nc"},
      {R"({"out":"x\u0007y\\"})", "x?y\\"},
      {R"({"out":"\b\/\t\r"})", "b/\t\r"},
      {R"({"out":"cut \u00)", "cut 00"},
      {R"({"out":"short \u1"})", "short 1"},
      {R"({"out":"quoted \u12\"3"})", "quoted ?3"},
      {R"({"out":"ends in \)", "ends in \\"},
      {R"({"out":"","more":"\"out\":\"x"})", ""},
      {R"({"error":"no out"})", R"({"error":"no out"})"},
      {R"("out:"out":"o")", "o"},
      {"plain text", "plain text"},
      {"", ""},
  };
  for (const auto& [body, text] : cases) {
    for (const std::size_t bytes_at_once : {1U, 2U, 3U, 7U, 1000U}) {
      EXPECT_EQ(Read(body, bytes_at_once), text) << body << " by " << bytes_at_once;
    }
  }
}

}  // namespace
}  // namespace mrb::front
