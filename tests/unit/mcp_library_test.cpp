#include <gtest/gtest.h>

#include <map>
#include <string>

#include "common/json_scan.h"
#include "common/json_writer.h"
#include "mcp/service.h"
#include "server/http/interpreter_bridge.h"

namespace mrb::mcp {
namespace {

class ListingBridge : public server::InterpreterBridge {
 public:
  void execute(std::string_view /*bot*/, std::string_view command, std::string& answer) override {
    static const std::map<std::string_view, std::string_view> kAnswers{
        {"memory.contexts mcp",
         "OK: 2 context(s) under /d\n  app  2 topic(s), 9 bytes (loaded)\n  art & co  0 topic(s)"},
        {"memory.browse mcp, app", "OK: context 'app'\n  Build  2 memo(s)\n  deploy  1 memo(s)\n6"},
        {"fsstat:list src/", "OK: 1 folder(s)\n  sub/\n  a.txt\n"},
        {"fsstat:list ", "OK: 1 folder(s)\n  src/\n"},
    };
    const auto found = kAnswers.find(command);
    answer = found == kAnswers.end() ? "<" + std::string(command) + ">" : found->second;
  }
};

class LibraryTest : public testing::Test {
 protected:
  /// The result, or the error's message behind "!".
  std::string ask(std::string_view method, std::string_view params = "{}") {
    const std::string body =
        mcp_.answer({R"({"jsonrpc":"2.0","id":1,"method":")" + std::string(method) +
                         R"(","params":)" + std::string(params) + "}",
                     trusted_, CallerFolder::known("/w")})
            .body;
    const auto document = JsonDocument::scan(body);
    if (!document) return "NO JSON " + body;
    const JsonValue result = document->root().find("result");
    return result.exists() ? std::string(result.raw())
                           : "!" + document->root().find("error").find("message").text();
  }

  std::string complete(std::string_view ref, std::string_view argument, std::string_view value,
                       std::string_view more = "") {
    return ask("completion/complete", R"({"ref":{"type":"x","name":)" + JsonString(ref) +
                                          R"(},"argument":{"name":)" + JsonString(argument) +
                                          R"(,"value":)" + JsonString(value) + "}" +
                                          std::string(more) + "}");
  }

  ListingBridge bridge_;
  bool trusted_ = true;
  McpService mcp_{{.bridge = &bridge_}};
};

TEST_F(LibraryTest, ReadsResources) {
  const std::pair<const char*, const char*> cases[] = {
      {"mrb:///file/src/a%20b.txt", "<fs:cat <path>src/a b.txt</path>>"},
      {"mrb:///file//abs/x", "<fs:cat /abs/x>"},
      {"mrb:///ctx/my%20app", "<memory.browse mcp, my app>"},
      {"mrb:///ctx/app/a%2Fb", "<memory.retrieve mcp, app, a/b>"},
      {"mrb:///query/name()%3D%3D%22*.cpp%22", "<?( name()==\"*.cpp\" )>"},
      {"mrb:///turns", "<fssys:turns>"},
  };
  for (const auto& [uri, text] : cases) {
    EXPECT_EQ(ask("resources/read", "{\"uri\":" + JsonString(uri) + "}"),
              R"({"contents":[{"uri":)" + JsonString(uri) + R"(,"mimeType":"text/plain","text":)" +
                  JsonString(text) + "}]}");
  }
  for (const char* unknown : {"", "mrb:///", "mrb:///ctx/", "mrb:///ctx/a%2Cb", "mrb:///file/%0A",
                              "file:///etc/passwd", "mrb:///turns/1", "mrb:///ctx/a/"}) {
    EXPECT_EQ(ask("resources/read", "{\"uri\":" + JsonString(unknown) + "}"),
              "!unknown resource uri: " + std::string(unknown));
  }
  trusted_ = false;
  EXPECT_EQ(ask("resources/read", R"({"uri":"mrb:///turns"})"),
            "!this connection may not run commands");
}

TEST_F(LibraryTest, ListsWhatThereIs) {
  const std::string resources = ask("resources/list");
  EXPECT_NE(resources.find(R"("uri":"mrb:///ctx/art%20%26%20co","name":"art & co")"),
            std::string::npos);
  const std::string list = ask("resources/templates/list");
  const auto templates = JsonDocument::scan(list);
  EXPECT_EQ(templates->root().find("resourceTemplates").elements().size(), 5U);
  EXPECT_EQ(ask("resources/subscribe", R"({"uri":"mrb:///turns"})"), "{}");
  const std::string prompts = ask("prompts/list");
  for (const char* name : {"resume-session", "remember-decision", "review-history"}) {
    EXPECT_NE(prompts.find("\"name\":\"" + std::string(name) + "\""), std::string::npos);
  }
}

TEST_F(LibraryTest, FillsPrompts) {
  const std::string bare = ask("prompts/get", R"({"name":"resume-session"})");
  EXPECT_TRUE(bare.find("Use the memory context: if") != std::string::npos &&
              bare.find('%') == std::string::npos)
      << bare;
  EXPECT_NE(ask("prompts/get", R"({"name":"resume-session","arguments":{"context":"app"}})")
                .find("Use the memory context 'app': if"),
            std::string::npos);
  EXPECT_NE(ask("prompts/get",
                R"({"name":"remember-decision","arguments":{"decision":"a\n100% [sure]"}})")
                .find(R"(\n\na\n100% [sure]\n\n)"),
            std::string::npos);
  EXPECT_EQ(ask("prompts/get", R"({"name":"review-history"})"), "!missing argument: path");
  EXPECT_EQ(ask("prompts/get", R"({"name":"x"})"), "!unknown prompt: x");
}

TEST_F(LibraryTest, CompletesArguments) {
  const auto values = [](std::string_view list, int total) {
    return R"({"completion":{"values":[)" + std::string(list) +
           "],\"total\":" + std::to_string(total) + R"(,"hasMore":false}})";
  };
  EXPECT_EQ(complete("resume-session", "context", "A"), values(R"("app","art & co")", 2));
  EXPECT_EQ(complete("memory.add", "topic", "b", R"(,"context":{"arguments":{"context":"app"}})"),
            values(R"("Build")", 1));
  EXPECT_EQ(complete("memory.add", "topic", "b"), values("", 0));
  EXPECT_EQ(complete("fs.read", "path", "s"), values(R"("src/")", 1));
  EXPECT_EQ(complete("fs.read", "path", "src/"), values(R"("src/sub/","src/a.txt")", 2));
  EXPECT_EQ(complete("memory.w5find", "web", "wh"), values(R"("who","when","where","why")", 4));
  EXPECT_EQ(complete("memory.addmemo", "props", "de"), values(R"("decision","design")", 2));
  EXPECT_EQ(complete("memory.add", "content", "x"), values("", 0));
  EXPECT_EQ(ask("completion/complete"), "!completion/complete needs a ref and an argument");
}

}  // namespace
}  // namespace mrb::mcp
