#pragma once

#include <span>
#include <string_view>

#include "platform/files.h"
#include "server/http_message.h"
#include "server/server.h"
#include "server/start_up.h"

namespace mrb::server {

/// What the routes work with. Outlives every request.
struct Services {
  const ServerOptions& options;
  platform::FileSystem& files;
  CachedPages cached_pages;
};

using RouteHandler = Response (*)(const Request&, const Services&);

/// Who may call a route.
enum class Access {
  kAny,
  kNoForeignPage,  ///< any but a web page of a stranger in a browser on this machine
  kTrusted,        ///< the local user, or a full browser session
};

/// One row. Methods: a sum of the bits below.
struct Route {
  unsigned methods;
  std::string_view path;
  bool prefix;  ///< every path that begins with it
  Access access;
  RouteHandler handler;
  std::string_view refusal = "loopback only";  ///< the 403's message
  bool plain_refusal = false;                  ///< as text/plain, not in a JSON body
};

inline constexpr unsigned kGet = 1;
inline constexpr unsigned kPost = 2;
inline constexpr unsigned kEveryMethod = ~0U;

/// All routes, in the order in which they are tried.
[[nodiscard]] std::span<const Route> Routes();

/// Runs the first row that matches: its handler, or its refusal when the caller may not. 404
/// "not found" when none does. Never throws: what a handler could not do for want of memory, or for
/// an error it did not expect, is a 500.
[[nodiscard]] Response AnswerRequest(const Request& request, const Services& services);

/// Whether the caller of a request has that access.
[[nodiscard]] bool MayEnter(const Request& request, Access access);

}  // namespace mrb::server
