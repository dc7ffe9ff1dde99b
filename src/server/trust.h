#pragma once

#include <cstdint>
#include <string_view>

namespace mrb::server {

/// Whether a request is the user's own, so that it may run commands: the peer is this machine and
/// no web page of a stranger speaks through the user's browser. `Host`, when present, must name
/// 127.0.0.0/8, localhost or [::1] (a name that a stranger's DNS points here is refused), `Origin`
/// must be this server at such a name and `port`, `Sec-Fetch-Site` must be same-origin or none.
/// Every header of these names is looked at, not only the first.
[[nodiscard]] bool IsTrusted(std::string_view head, bool loopback_peer, std::uint16_t port);

/// The address's first octet is 127. Host byte order.
[[nodiscard]] constexpr bool IsLoopback(std::uint32_t ipv4) {
  return ipv4 >> 24U == 127U;
}

}  // namespace mrb::server
