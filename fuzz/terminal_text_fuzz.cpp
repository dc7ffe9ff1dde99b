#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"
#include "front/client/detach_keys.h"
#include "platform/command_words.h"
#include "server/terminals/exec_command.h"
#include "server/terminals/marker_scanner.h"
#include "server/terminals/saved_hosts.h"
#include "server/terminals/terminal_command.h"
#include "server/terminals/terminal_output.h"

// What programs print, users type and a host book holds. The first byte chooses the pieces in which
// output arrives: however it is cut, the same end must be found. A '#' stands for the marker.

namespace {

using mrb::server::MarkerScanner;

constexpr std::string_view kMarker = "___MARK_1_2___";

std::string WithMarkers(std::string_view text) {
  std::string out;
  for (const char c : text) out += c == '#' ? kMarker : std::string_view(&c, 1);
  return out;
}

void CheckOutput(std::size_t piece, std::string_view text) {
  MarkerScanner whole{std::string(kMarker), 0};
  MarkerScanner pieces{std::string(kMarker), 0};
  mrb::server::TerminalOutput output;
  output.append(text);
  whole.feed(text);
  for (std::size_t at = 0; at < text.size(); at += piece) pieces.feed(text.substr(at, piece));
  const auto end = whole.end();
  const auto same_end = pieces.end();
  FUZZ_CHECK(end.has_value() == same_end.has_value());
  if (end && same_end) {
    FUZZ_CHECK(end->begin == same_end->begin && end->begin < text.size());
    FUZZ_CHECK(end->status == same_end->status);
  }
  const auto echo = whole.echo();
  FUZZ_CHECK(echo.has_value() == pieces.echo().has_value());
  if (echo) FUZZ_CHECK(echo->begin < echo->end);
  for (const bool several : {false, true}) {
    const mrb::server::ExecLine line{.text = {}, .several = several, .first_line = "x"};
    FUZZ_CHECK(mrb::server::CutExecOutput(output, 0, text.size(), whole, line).size() <=
               text.size());
  }
  FUZZ_CHECK(mrb::server::UnfinishedUtf8(text) <= 3);
}

void CheckTyped(std::string_view text) {
  if (const auto words = mrb::platform::SplitCommandWords(text)) FUZZ_CHECK(!words->empty());
  const std::string once = mrb::server::WithInteractiveFlag(text);
  FUZZ_CHECK(mrb::server::WithInteractiveFlag(once) == once);
  const auto passed = mrb::front::DetachKeys().pass(text);
  FUZZ_CHECK(passed.keys.size() <= text.size() * 2);
  const auto line = mrb::server::MakeExecLine(mrb::server::ShellKind::kPosix, "sh", text, kMarker);
  FUZZ_CHECK(line.text.find(kMarker) != std::string::npos && !line.text.contains('\n'));
}

void CheckHosts(std::string_view text) {
  const auto hosts = mrb::server::ParseHosts(text);
  for (const auto& host : hosts) {
    FUZZ_CHECK(mrb::server::IsTerminalName(host.name) && !host.command.empty());
  }
  FUZZ_CHECK(mrb::server::ParseHosts(mrb::server::FormatHosts(hosts)) == hosts);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
  CheckOutput(data[0] + std::size_t{1}, WithMarkers(text));
  CheckTyped(text);
  CheckHosts(text);
  return 0;
}
