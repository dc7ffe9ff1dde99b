#include "common/http_answer.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace mrb {
namespace {

constexpr std::size_t kMaxBody = 1000;

TEST(HttpAnswerTest, ReadsAnswersHoweverTheyCome) {
  const std::string good[] = {
      "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello",
      "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\ncontent-length:5\n\nhello",
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2;x=y\r\nhe\r\n3\r\nllo\r\n0\r\nT: "
      "1\r\n\r\n",
      "HTTP/1.0 200 OK\r\n\r\nhello",
  };
  for (const std::string& bytes : good) {
    for (std::size_t step = 1; step <= bytes.size(); step += 3) {
      HttpAnswer answer(kMaxBody);
      for (std::size_t at = 0; at < bytes.size(); at += step) {
        ASSERT_TRUE(answer.feed(std::string_view(bytes).substr(at, step))) << bytes;
      }
      ASSERT_TRUE(answer.end()) << bytes;
      EXPECT_EQ(answer.status(), 200);
      EXPECT_EQ(answer.body(), "hello");
      std::string pieces;
      HttpAnswer streamed([&](std::string_view piece) { pieces += piece; });
      for (std::size_t at = 0; at < bytes.size(); at += step) {
        ASSERT_TRUE(streamed.feed(std::string_view(bytes).substr(at, step))) << bytes;
      }
      EXPECT_EQ(pieces, "hello");
    }
  }
  for (const char* bad : {"SSH-2.0\r\n\r\n", "HTTP/1.1 200 OK\r\nContent-Length: -1\r\n\r\n",
                          "HTTP/1.1 200 OK\r\nContent-Length: 99999999999\r\n\r\n",
                          "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\n",
                          "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nabc\n",
                          "HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip\r\n\r\n"}) {
    HttpAnswer answer(kMaxBody);
    EXPECT_FALSE(answer.feed(bad)) << bad;
  }
  HttpAnswer cut(kMaxBody);
  EXPECT_TRUE(cut.feed("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhell"));
  EXPECT_FALSE(cut.end());
  HttpAnswer small(4);
  EXPECT_FALSE(small.feed("HTTP/1.0 200 OK\r\n\r\nhello"));
}

}  // namespace
}  // namespace mrb
