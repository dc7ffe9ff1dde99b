#include "memory/record/context_id.h"

#include <algorithm>
#include <array>
#include <string>

#include "common/text.h"

namespace mrb::memory {

namespace {

constexpr std::array<std::string_view, 24> kDeviceNames = {
    "con",  "prn",  "aux",  "nul",  "conin$", "conout$", "com1", "com2",
    "com3", "com4", "com5", "com6", "com7",   "com8",    "com9", "lpt1",
    "lpt2", "lpt3", "lpt4", "lpt5", "lpt6",   "lpt7",    "lpt8", "lpt9"};

/// The characters that separate paths, streams, wildcards or fields of a command.
constexpr std::string_view kForbidden = "/\\:*?\"<>|,{}";

bool IsDeviceName(std::string_view id) {
  // "nul.txt" and "nul .txt" are the device as well.
  const std::string base = LowerAscii(Trim(id.substr(0, id.find('.'))));
  return std::ranges::find(kDeviceNames, base) != kDeviceNames.end();
}

/// What is wrong with the id; empty when nothing is.
std::string_view BrokenRule(std::string_view id) {
  if (id.empty() || id.size() > kMaxContextIdBytes) return "1 to 128 bytes are needed";
  if (std::ranges::any_of(id, IsControl) || !IsUtf8(id)) {
    return "control characters and invalid UTF-8 are not allowed";
  }
  if (id.find_first_of(kForbidden) != std::string_view::npos) {
    return "none of / \\ : * ? \" < > | , { } is allowed";
  }
  if (id.front() == '.' || id.back() == '.' || id.back() == ' ') {
    return "a leading dot and a trailing dot or blank are not allowed";
  }
  return IsDeviceName(id) ? "it is the name of a device" : "";
}

}  // namespace

Status CheckContextId(std::string_view id) {
  const std::string_view rule = BrokenRule(id);
  if (rule.empty()) {
    return {};
  }
  return Fail(ErrorKind::kInvalidArgument,
              "bad context id '" + std::string(id) + "' — " + std::string(rule));
}

}  // namespace mrb::memory
