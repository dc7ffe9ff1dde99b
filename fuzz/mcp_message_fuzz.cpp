#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"
#include "common/json_scan.h"
#include "mcp/service.h"
#include "server/http/interpreter_bridge.h"

// Whatever is posted, the answer is nothing or JSON-RPC, and a command that is built from it is one
// that its tool may build: nothing of an argument stands where the command's own words belong.

namespace {

using mrb::JsonDocument;
using mrb::JsonValue;

class CheckingBridge : public mrb::server::InterpreterBridge {
 public:
  void execute(std::string_view bot, std::string_view command, std::string& answer) override {
    FUZZ_CHECK(bot == "mcp");
    // One line but for the last field; the memory commands' first comma ends the bot.
    if (command.starts_with("memory.delete ")) {
      FUZZ_CHECK(command.find_first_of("\r\n") == std::string_view::npos);
      std::size_t commas = 0;
      for (const char c : command) commas += c == ',' ? 1U : 0U;
      FUZZ_CHECK(commas == 2);
    }
    answer = std::string("OK: ").append(command);
  }
};

void CheckMessage(const JsonValue& message) {
  FUZZ_CHECK(message.find("jsonrpc").text() == "2.0");
  FUZZ_CHECK(message.find("id").exists());
  FUZZ_CHECK(message.find("result").exists() != message.find("error").exists());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 8192) return 0;  // a message's grammar needs no more
  static CheckingBridge bridge;
  static mrb::mcp::McpService service({.bridge = &bridge});
  const std::string_view body(reinterpret_cast<const char*>(data), size);
  const auto answer = service.answer({.body = body, .trusted = true, .folder = {}});
  if (answer.status == "202 Accepted") {
    FUZZ_CHECK(answer.body.empty());
    return 0;
  }
  const auto document = JsonDocument::scan(answer.body);
  FUZZ_CHECK(document.has_value());
  const JsonValue root = document->root();
  if (root.is(JsonValue::Kind::kArray)) {
    for (const JsonValue& message : root.elements()) CheckMessage(message);
  } else {
    CheckMessage(root);
  }
  return 0;
}
