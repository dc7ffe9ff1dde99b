#pragma once

#include <string_view>

#include "platform/files.h"
#include "server/http/http_message.h"
#include "server/routes/page_cache.h"
#include "server/routes/server_options.h"

namespace mrb::server {

/// What the routes work with. Outlives every request.
struct Services {
  const ServerOptions& options;
  platform::FileSystem& files;
  PageCache page_cache;
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

/// What of the server a route works with. One that is not there answers for the route.
enum class Needs {
  kNothing,
  kTerminals,    ///< else 404
  kChat,         ///< else 404
  kFiles,        ///< else 503
  kWorkstation,  ///< else 503
};

/// One row. Methods: a sum of the bits below.
struct Route {
  unsigned methods;
  std::string_view path;
  bool prefix;  ///< every path that begins with it
  Access access;
  Effect effect;
  Needs needs;
  RouteHandler handler;
  std::string_view refusal = "loopback only";  ///< the 403's message
  bool plain_refusal = false;                  ///< as text/plain, not in a JSON body
};

inline constexpr unsigned kGet = 1;
inline constexpr unsigned kPost = 2;
inline constexpr unsigned kEveryMethod = ~0U;

/// The answer where nothing is.
[[nodiscard]] Response AnswerNotFound(const Request& request, const Services& services);

}  // namespace mrb::server
