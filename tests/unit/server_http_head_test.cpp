#include "server/http/http_head.h"

#include <gtest/gtest.h>

#include <limits>

#include "server/http/http_message.h"
#include "server/http/request_reader.h"

namespace mrb::server {
namespace {

TEST(HttpHeadTest, ReadsTheRequestLine) {
  struct Case {
    const char* head;
    const char* method;
    const char* path;
    const char* query;
  };
  for (const Case& c : {
           Case{"GET /a/b?x=1?2&y HTTP/1.1\r\n\r\n", "GET", "/a/b", "x=1?2&y"},
           Case{"POST / HTTP/1.1\r\n\r\n", "POST", "/", ""},
           Case{"  get\t/x  HTTP/1.0\r\n\r\n", "get", "/x", ""},
           Case{"GET ?q\r\n\r\n", "GET", "", "q"},
           Case{"GET\r\n/x HTTP/1.1\r\n\r\n", "GET", "", ""},
           Case{"\r\nGET / HTTP/1.1\r\n\r\n", "", "", ""},
       }) {
    const RequestLine line = ParseRequestLine(c.head);
    EXPECT_EQ(line.method, c.method) << c.head;
    EXPECT_EQ(line.path, c.path) << c.head;
    EXPECT_EQ(line.query, c.query) << c.head;
  }
}

TEST(HttpHeadTest, FindsHeaders) {
  constexpr std::string_view kHead =
      "GET /h:x HTTP/1.1\r\nX-Mrb-CWD:  C:\\a b \r\nno colon\r\nx-mrb-cwd: second\r\n"
      "Empty:\r\nBare: \tfeed\nX-Mrb-Cwd2: z\r\n\r\n";
  EXPECT_EQ(HeaderValue(kHead, "x-mrb-cwd"), "C:\\a b ");
  EXPECT_EQ(HeaderValue(kHead, "bare"), "feed");
  EXPECT_EQ(FindHeader(kHead, "empty"), "");
  EXPECT_EQ(FindHeader(kHead, "x-mrb"), std::nullopt);
  EXPECT_EQ(FindHeader(kHead, "get /h"), std::nullopt);
  EXPECT_TRUE(IsWebSocketUpgrade("GET / HTTP/1.1\r\nUPGRADE: WebSocket\r\n\r\n"));
  EXPECT_FALSE(IsWebSocketUpgrade("GET / HTTP/1.1\r\nUpgrade: websockets\r\n\r\n"));
}

TEST(HttpHeadTest, ReadsTheBodyLength) {
  const auto length = [](const std::string& method, const std::string& value) {
    return BodyLength(method + " /x HTTP/1.1\r\nContent-Length: " + value + "\r\n\r\n");
  };
  EXPECT_EQ(length("POST", "17"), 17U);
  EXPECT_EQ(length("PUT", " 17 "), 17U);
  EXPECT_EQ(length("DELETE", "17"), 17U);
  EXPECT_EQ(length("GET", "17"), 17U);
  for (const char* no_number : {"", "-1", "+1", "1x", "0x10", "1 2"}) {
    EXPECT_EQ(length("POST", no_number), 0U) << no_number;
  }
  EXPECT_EQ(length("POST", "99999999999999999999"), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(BodyLength("POST /vid/upload HTTP/1.1\r\nContent-Length: 5\r\n\r\n"), 0U);
}

TEST(HttpHeadTest, DecodesQueryParameters) {
  constexpr std::string_view kQuery = "bot=a+b%2Bc&cmd=x=1&&flag&bot=second&Bot=upper&k%3D=v";
  EXPECT_EQ(QueryParam(kQuery, "bot"), "a b+c");
  EXPECT_EQ(QueryParam(kQuery, "cmd"), "x=1");
  EXPECT_EQ(QueryParam(kQuery, "flag"), "");
  EXPECT_EQ(QueryParam(kQuery, "Bot"), "upper");
  EXPECT_EQ(QueryParam(kQuery, "k="), "");
  EXPECT_EQ(QueryParam(kQuery, "none"), "");
}

TEST(RequestReaderTest, FindsTheHeadHoweverItIsSplit) {
  const std::string request = "GET / HTTP/1.1\r\nA: b\r\n\r\nbody\r\n\r\n";
  const std::string head = request.substr(0, request.find("body"));
  for (std::size_t step = 1; step <= request.size(); ++step) {
    RequestReader reader;
    for (std::size_t at = 0; at < request.size(); at += step) {
      reader.append(std::string_view(request).substr(at, step));
    }
    ASSERT_EQ(reader.state(), RequestReader::State::kHeadDone) << step;
    EXPECT_EQ(reader.head(), head) << step;
    EXPECT_EQ(reader.rest(), "body\r\n\r\n") << step;
  }
}

TEST(RequestReaderTest, BoundsTheHead) {
  const auto state_after = [](std::size_t size, std::string_view tail) {
    RequestReader reader;
    reader.append(std::string(size, 'x'));
    return reader.append(tail);
  };
  EXPECT_EQ(state_after(kMaxHead, ""), RequestReader::State::kHead);
  EXPECT_EQ(state_after(kMaxHead, "\r\n\r\n"), RequestReader::State::kHeadDone);
  EXPECT_EQ(state_after(kMaxHead, "x"), RequestReader::State::kTooLarge);
  EXPECT_EQ(state_after(kMaxHead + 1, "\r\n\r\n"), RequestReader::State::kTooLarge);
}

TEST(HttpMessageTest, WritesAnAnswersHeadToTheByte) {
  Response response;
  response.type = kPlain;
  response.body = "hello";
  response.headers = "\r\nSet-Cookie: a=b";
  std::string bytes;
  AppendHttpHead(bytes, response);
  EXPECT_EQ(bytes,
            "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 5\r\n"
            "Set-Cookie: a=b\r\nCache-Control: no-store\r\nConnection: close\r\n\r\n");
  EXPECT_EQ(JsonFailure(kForbidden, "a \"b\"").body, R"({"ok":false,"error":"a \"b\""})");
}

}  // namespace
}  // namespace mrb::server
