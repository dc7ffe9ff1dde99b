#include "front/mcp_local.h"

#include <algorithm>

#include "common/text.h"
#include "front/client/caller.h"
#include "front/client/mcp_stdio.h"
#include "front/interpreter.h"
#include "mcp/service.h"
#include "platform/config_file.h"
#include "platform/console.h"
#include "platform/process.h"

namespace mrb::front {

std::size_t MaxToolAnswer(const Homes& homes) {
  constexpr std::uint64_t kMax = std::uint64_t{16} << 20U;  // no model reads more in one reply
  const auto setting =
      platform::ReadSetting(platform::SystemFiles(), homes.settings_files(), "mcp.maxanswer");
  const std::uint64_t wanted =
      setting ? ParseDecimal(*setting).value_or(mcp::kDefaultMaxAnswer) : mcp::kDefaultMaxAnswer;
  return static_cast<std::size_t>(std::clamp(wanted, std::uint64_t{mcp::kMinMaxAnswer}, kMax));
}

int RunMcpLocal(const Homes& homes) {
  // Standard output belongs to the protocol.
  Interpreter interpreter(homes, &platform::WriteStderr, false);
  interpreter.start();
  mcp::McpService service({.bridge = &interpreter, .max_answer = MaxToolAnswer(homes)});
  const CallerFolder folder = OwnFolder();
  McpStdio([&](const std::string& message) {
    return service.answer({.body = message, .trusted = true, .folder = folder}).body;
  }).serve();
  return 0;
}

}  // namespace mrb::front
