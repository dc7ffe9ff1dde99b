#include <algorithm>
#include <cctype>
#include <cstdint>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "check.h"
#include "server/http/trust.h"

// Header lines of any kind. A head is judged as a program's or an own page's only when a second,
// slower account of the rule says so, too; and no further header makes a stranger's head better.

namespace {

using mrb::server::IsPageLoad;
using mrb::server::Sender;
using mrb::server::SenderOf;
using Headers = std::vector<std::pair<std::string, std::string>>;

constexpr std::uint16_t kPort = 9999;
constexpr const char* kBlanks = " \t\r\n";

std::string Trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string Lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

Headers HeadersOf(const std::string& head) {
  Headers headers;
  for (std::size_t at = head.find('\n'); at != std::string::npos;) {
    const std::size_t end = head.find('\n', at + 1);
    std::string line =
        head.substr(at + 1, end == std::string::npos ? std::string::npos : end - at - 1);
    if (line.ends_with('\r')) line.pop_back();
    if (const auto colon = line.find(':'); colon != std::string::npos) {
      headers.emplace_back(Lower(Trimmed(line.substr(0, colon))), Trimmed(line.substr(colon + 1)));
    }
    at = end;
  }
  return headers;
}

bool IsThisMachine(const std::string& name) {
  static const std::regex kNames(R"(localhost|\[::1\]|127(\.\d{1,3}){3})", std::regex::icase);
  if (!std::regex_match(name, kNames)) return false;
  if (!name.starts_with("127.")) return true;
  static const std::regex kTooLarge(R"(.*\.(25[6-9]|2[6-9]\d|[3-9]\d\d)(\..*)?)");
  return !std::regex_match(name, kTooLarge);
}

/// The name and the port of "name:port"; the port is -1 when none is given and -2 when it is none.
std::pair<std::string, long> SplitPort(const std::string& host) {
  static const std::regex kForm(R"((\[[^\]]*\]|[^:\[\]]*)(:(\d*))?)");
  std::smatch parts;
  if (!std::regex_match(host, parts, kForm)) return {"", -2};
  if (!parts[2].matched) return {parts[1], -1};
  const std::string digits = parts[3];
  if (digits.empty()) return {parts[1], -2};
  const auto first = std::min(digits.find_first_not_of('0'), digits.size() - 1);
  if (digits.size() - first > 5) return {parts[1], -2};
  const long port = std::stol(digits.substr(first));
  return {parts[1], port <= 65535 ? port : -2};
}

bool AllAre(const Headers& headers, const std::string& name, bool (*good)(const std::string&)) {
  return std::ranges::all_of(
      headers, [&](const auto& header) { return header.first != name || good(header.second); });
}

bool IsOwnHost(const std::string& host) {
  const auto [name, port] = SplitPort(host);
  return IsThisMachine(name) && port != -2;
}

bool IsOwnOrigin(const std::string& origin) {
  if (!Lower(origin).starts_with("http://")) return false;
  const auto [name, port] = SplitPort(origin.substr(7));
  return IsThisMachine(name) && (port == -1 ? 80 : port) == kPort;
}

Sender Expected(const Headers& headers) {
  const auto has = [&](const std::string& name) {
    return std::ranges::any_of(headers, [&](const auto& header) { return header.first == name; });
  };
  const bool marked = std::ranges::any_of(headers, [](const auto& header) {
    const auto& [name, value] = header;
    if (name == "sec-fetch-mode") return value != "cors";
    return name == "origin" || name.starts_with("sec-fetch-") ||
           (name == "user-agent" && Lower(value).starts_with("mozilla/"));
  });
  if (!AllAre(headers, "host", IsOwnHost)) return Sender::kForeignPage;
  if (!marked) return Sender::kProgram;
  const bool same_site = AllAre(headers, "sec-fetch-site",
                                [](const std::string& site) { return site == "same-origin"; });
  const bool same_origin = AllAre(headers, "origin", IsOwnOrigin);
  return same_site && same_origin && (has("sec-fetch-site") || has("origin"))
             ? Sender::kOwnPage
             : Sender::kForeignPage;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string lines(reinterpret_cast<const char*>(data), std::min<std::size_t>(size, 2000));
  // A head ends at its first blank line, whatever the bytes.
  while (lines.find("\r\n\r\n") != std::string::npos) lines.erase(lines.find("\r\n\r\n"), 2);
  const std::string head = "GET / HTTP/1.1\r\n" + lines;
  const Sender sender = SenderOf(head + "\r\n\r\n", {.port = kPort});
  FUZZ_CHECK(sender == Expected(HeadersOf(head)));
  for (const char* mark : {"Sec-Fetch-Site: none", "Origin: null", "Origin: http://evil.example",
                           "Host: evil.example", "sec-fetch-site: cross-site"}) {
    FUZZ_CHECK(SenderOf(head + "\r\n" + mark + "\r\n\r\n", {.port = kPort}) ==
               Sender::kForeignPage);
  }
  FUZZ_CHECK(IsPageLoad(head + "\r\nSec-Fetch-Mode: navigate\r\n\r\n"));
  return 0;
}
