#pragma once

#include <cstdint>
#include <string_view>

#include "platform/peer_identity.h"

namespace mrb::server {

/// What sent a request from this machine, by the request's own account.
enum class Sender {
  kProgram,      ///< no browser: whose program it is, only the system can tell
  kOwnPage,      ///< a page of this server, in a browser
  kForeignPage,  ///< a browser for anybody else: a page of a stranger, a link, a typed address
};

/// Where a server can be reached on this machine and nobody else can: a page of another account
/// that was served at one of these names would be taken for the server's own.
struct OwnAddress {
  std::uint16_t port = 0;
  bool whole_loopback = true;  ///< all of 127.0.0.0/8; else 127.0.0.1 alone
  bool localhost = true;       ///< localhost and [::1], too
};

/// Tells the sender by the head alone; every header of a name is looked at, not only the first.
///
/// `Host`, when present, must name 127.0.0.0/8, localhost or [::1], for everybody: a name that a
/// stranger's DNS points here is a foreign page. A request is a browser's when it has an `Origin`,
/// a `Sec-Fetch-…` header (https://www.w3.org/TR/fetch-metadata/) or a User-Agent that begins
/// "Mozilla/". It is the own page's when `Sec-Fetch-Site` is same-origin, or, without that header,
/// when its `Origin` is this server: http, at a name and the port of its own address. "none" is
/// what a browser sends for an address that was typed, bookmarked or opened by another program, and
/// keeps through redirects, so it proves nothing. One mark that looks like a browser's is none:
/// Node's fetch() sends "Sec-Fetch-Mode: cors" alone, which no browser does without an `Origin` or
/// a `Sec-Fetch-Site` beside it.
[[nodiscard]] Sender SenderOf(std::string_view head, const OwnAddress& own);

/// Whether a browser may show the answer as a page or load it as a part of one, instead of handing
/// it to the script that asked: so it does for links, forms, frames and pictures. Such a request
/// may read, never change anything.
[[nodiscard]] bool IsPageLoad(std::string_view head);

/// Whether the program may do what the user may: it is the user's own, or root's. Not the user's
/// own program where this process runs elevated and that one does not.
[[nodiscard]] constexpr bool IsUsers(const platform::PeerOwner& owner) {
  using Kind = platform::PeerOwner::Kind;
  return owner.kind == Kind::kOwnUser || owner.kind == Kind::kAdministrator;
}

/// The address's first octet is 127. Host byte order.
[[nodiscard]] constexpr bool IsLoopback(std::uint32_t ipv4) {
  return ipv4 >> 24U == 127U;
}

}  // namespace mrb::server
