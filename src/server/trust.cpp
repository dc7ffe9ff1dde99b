#include "server/trust.h"

#include "common/text.h"
#include "server/http_head.h"

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

bool NamesThisMachine(std::string_view name) {
  return EqualsIgnoreCase(name, "localhost") || name == "[::1]" || IsLoopbackAddress(name);
}

bool IsGoodPort(const HostPort& host) {
  return !host.has_colon || ParseDecimal(host.port).value_or(65536) <= 65535;
}

bool IsOwnHost(std::string_view value) {
  const HostPort host = SplitHost(value);
  return NamesThisMachine(host.name) && IsGoodPort(host);
}

bool IsOwnOrigin(std::string_view value, std::uint16_t port) {
  static constexpr std::string_view kScheme = "http://";
  static constexpr std::uint64_t kDefaultPort = 80;
  if (!EqualsIgnoreCase(value.substr(0, kScheme.size()), kScheme)) return false;
  const HostPort host = SplitHost(value.substr(kScheme.size()));
  if (!NamesThisMachine(host.name) || !IsGoodPort(host)) return false;
  return (host.has_colon ? ParseDecimal(host.port).value_or(0) : kDefaultPort) == port;
}

bool IsOwnFetch(std::string_view value) {
  return value == "same-origin" || value == "none";
}

}  // namespace

bool IsTrusted(std::string_view head, bool loopback_peer, std::uint16_t port) {
  if (!loopback_peer) return false;
  HeaderLines lines(head);
  while (const auto line = lines.next()) {
    const std::string_view value = Trim(line->value);
    if (EqualsIgnoreCase(line->name, "host") && !IsOwnHost(value)) return false;
    if (EqualsIgnoreCase(line->name, "origin") && !IsOwnOrigin(value, port)) return false;
    if (EqualsIgnoreCase(line->name, "sec-fetch-site") && !IsOwnFetch(value)) return false;
  }
  return true;
}

}  // namespace mrb::server
