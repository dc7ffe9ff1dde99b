#include "server/http/trust.h"

#include "common/text.h"
#include "server/http/http_head.h"

namespace mrb::server {
namespace {

struct HostPort {
  std::string_view name;  ///< an IPv6 address with its brackets
  std::string_view port;  ///< digits; empty when none is given
  bool has_colon = false;
};

HostPort SplitHost(std::string_view host) {
  const auto bracket = host.starts_with('[') ? host.find(']') : std::string_view::npos;
  const auto colon = host.find(':', bracket == std::string_view::npos ? 0 : bracket);
  if (colon == std::string_view::npos) return {host, {}, false};
  return {host.substr(0, colon), host.substr(colon + 1), true};
}

/// Four decimal numbers up to 255, the first of them 127. Browsers write addresses this way
/// whatever the user typed, so the shorter and the octal forms need no understanding.
bool IsLoopbackAddress(std::string_view name) {
  const auto octets = Split(name, '.');
  if (octets.size() != 4 || octets[0] != "127") return false;
  for (const std::string_view octet : octets) {
    if (octet.size() > 3 || ParseDecimal(octet).value_or(256) > 255) return false;
  }
  return true;
}

bool NamesThisMachine(std::string_view name, const OwnAddress& own) {
  if (name == "127.0.0.1") return true;
  if (own.localhost && (EqualsIgnoreCase(name, "localhost") || name == "[::1]")) return true;
  return own.whole_loopback && IsLoopbackAddress(name);
}

bool IsGoodPort(const HostPort& host) {
  return !host.has_colon || ParseDecimal(host.port).value_or(65536) <= 65535;
}

bool IsOwnHost(std::string_view value, const OwnAddress& own) {
  const HostPort host = SplitHost(value);
  return NamesThisMachine(host.name, own) && IsGoodPort(host);
}

bool IsOwnOrigin(std::string_view value, const OwnAddress& own) {
  static constexpr std::string_view kScheme = "http://";
  static constexpr std::uint64_t kDefaultPort = 80;
  if (!EqualsIgnoreCase(value.substr(0, kScheme.size()), kScheme)) return false;
  const HostPort host = SplitHost(value.substr(kScheme.size()));
  if (!NamesThisMachine(host.name, own) || !IsGoodPort(host)) return false;
  return (host.has_colon ? ParseDecimal(host.port).value_or(0) : kDefaultPort) == own.port;
}

/// The marks of a browser in a head.
struct Marks {
  bool host_is_own = true;
  bool origin_is_own = true;
  bool site_is_own = true;
  bool has_origin = false;
  bool has_site = false;
  bool has_other = false;  ///< of any other kind
};

bool StartsWithIgnoreCase(std::string_view text, std::string_view start) {
  return EqualsIgnoreCase(text.substr(0, start.size()), start);
}

bool IsOtherMark(std::string_view name, std::string_view value) {
  if (EqualsIgnoreCase(name, "user-agent")) return StartsWithIgnoreCase(value, "mozilla/");
  if (EqualsIgnoreCase(name, "sec-fetch-mode")) return value != "cors";
  return StartsWithIgnoreCase(name, "sec-fetch-");
}

Marks MarksOf(std::string_view head, const OwnAddress& own) {
  Marks marks;
  HeaderLines lines(head);
  while (const auto line = lines.next()) {
    const std::string_view name = Trim(line->name);
    const std::string_view value = Trim(line->value);
    if (EqualsIgnoreCase(name, "host")) {
      marks.host_is_own = marks.host_is_own && IsOwnHost(value, own);
    } else if (EqualsIgnoreCase(name, "origin")) {
      marks.has_origin = true;
      marks.origin_is_own = marks.origin_is_own && IsOwnOrigin(value, own);
    } else if (EqualsIgnoreCase(name, "sec-fetch-site")) {
      marks.has_site = true;
      marks.site_is_own = marks.site_is_own && value == "same-origin";
    } else {
      marks.has_other = marks.has_other || IsOtherMark(name, value);
    }
  }
  return marks;
}

}  // namespace

Sender SenderOf(std::string_view head, const OwnAddress& own) {
  const Marks marks = MarksOf(head, own);
  if (!marks.host_is_own) return Sender::kForeignPage;
  if (!marks.has_origin && !marks.has_site && !marks.has_other) return Sender::kProgram;
  const bool is_own =
      marks.origin_is_own && marks.site_is_own && (marks.has_origin || marks.has_site);
  return is_own ? Sender::kOwnPage : Sender::kForeignPage;
}

bool IsPageLoad(std::string_view head) {
  HeaderLines lines(head);
  while (const auto line = lines.next()) {
    if (!EqualsIgnoreCase(Trim(line->name), "sec-fetch-mode")) continue;
    const std::string_view mode = Trim(line->value);
    if (mode != "cors" && mode != "same-origin" && mode != "websocket") return true;
  }
  return false;
}

}  // namespace mrb::server
