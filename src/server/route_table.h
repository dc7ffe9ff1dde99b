#pragma once

#include <optional>
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

/// What a request to a route does. What changes something is never done for a page load (see
/// IsPageLoad()), of the own pages neither: a link there may have been written by anybody.
enum class Effect { kReads, kChanges };

/// One row. Methods: a sum of the bits below.
struct Route {
  unsigned methods;
  std::string_view path;
  bool prefix;  ///< every path that begins with it
  Access access;
  Effect effect;
  RouteHandler handler;
  std::string_view refusal = "loopback only";  ///< the 403's message
  bool plain_refusal = false;                  ///< as text/plain, not in a JSON body
};

inline constexpr unsigned kGet = 1;
inline constexpr unsigned kPost = 2;
inline constexpr unsigned kEveryMethod = ~0U;

/// All routes, in the order in which they are tried.
[[nodiscard]] std::span<const Route> Routes();

/// The first row that matches; null when none does.
[[nodiscard]] const Route* FindRoute(const RequestLine& line);

/// The 403 for a caller that may not enter the route (null: any may); nothing for one that may.
/// Needs the request's head alone.
[[nodiscard]] std::optional<Response> RefuseRequest(const Request& request, const Route* route);

/// Runs the handler of the row that matches, or refuses the caller; 404 "not found" without a row.
/// Never throws: what a handler could not do for want of memory, or for an error it did not expect,
/// is a 500.
[[nodiscard]] Response AnswerRequest(const Request& request, const Services& services);

/// Whether the caller of a request has that access.
[[nodiscard]] bool MayEnter(const Request& request, Access access);

}  // namespace mrb::server
