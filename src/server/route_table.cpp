#include "server/route_table.h"

#include <algorithm>
#include <exception>
#include <new>

#include "server/chat_routes.h"
#include "server/control_routes.h"
#include "server/static_pages.h"
#include "server/terminal_routes.h"
#include "server/vc_routes.h"

namespace mrb::server {
namespace {

constexpr bool kExact = false;
constexpr bool kPrefix = true;

constexpr std::string_view kTerminals = "/term/";

constexpr Route kRoutes[] = {
    {kGet, "/health", kExact, Access::kAny, AnswerHealth},
    {kPost, "/shutdown", kExact, Access::kTrusted, AnswerShutdown},
    {kPost, "/console/exec", kExact, Access::kTrusted, AnswerConsoleExec,
     "/console/exec is loopback-only"},
    {kGet, "/console/tail", kExact, Access::kTrusted, AnswerConsoleTail,
     "/console/tail is loopback-only"},
    {kGet | kPost, "/interp", kExact, Access::kTrusted, AnswerInterp, "interp is loopback-only",
     true},

    {kPost, "/", kExact, Access::kNoForeignPage, AnswerJsonRpc},
    {kPost, "/rpc", kExact, Access::kNoForeignPage, AnswerJsonRpc},
    {kPost, "/mcp", kExact, Access::kNoForeignPage, AnswerJsonRpc},
    {kPost, "/a2a", kExact, Access::kNoForeignPage, AnswerJsonRpc},
    {kGet, "/mcp", kExact, Access::kAny, AnswerMcpBanner},
    {kEveryMethod, "/mcp", kExact, Access::kNoForeignPage, AnswerMcpOther},
    {kGet, "/a2a", kExact, Access::kAny, AnswerAgentBanner},

    {kGet, "/", kExact, Access::kAny, AnswerIndex},
    {kGet, "/index.html", kExact, Access::kAny, AnswerIndex},
    {kEveryMethod, "/ui/api/", kPrefix, Access::kTrusted, AnswerWorkstation},
    {kGet, "/ui", kExact, Access::kAny, AnswerUi},
    {kGet, "/ui/", kPrefix, Access::kAny, AnswerUi},
    {kGet, "/backgrounds/", kPrefix, Access::kAny, AnswerBackground},
    {kGet, "/screensaver-", kPrefix, Access::kAny, AnswerScreensaver},
    {kGet, "/g-walk", kExact, Access::kAny, AnswerGlyphwalkers},
    {kGet, "/glyphwalkers", kExact, Access::kAny, AnswerGlyphwalkers},
    {kGet, "/panel", kExact, Access::kAny, AnswerPanel},
    {kGet, "/mirebolt_panel.html", kExact, Access::kAny, AnswerPanel},
    {kGet, "/orchestration", kExact, Access::kAny, AnswerOrchestration},
    {kGet, "/orch", kExact, Access::kAny, AnswerOrchestration},
    {kGet, "/tasksync", kExact, Access::kAny, AnswerTaskSync},
    {kGet, "/onboard", kExact, Access::kAny, AnswerConfigure},
    {kGet, "/config_collector.html", kExact, Access::kAny, AnswerConfigure},
    {kGet, "/configure", kExact, Access::kAny, AnswerConfigure},

    {kGet | kPost, "/term/open", kExact, Access::kTrusted, AnswerTermOpen},
    {kGet, "/term/read", kExact, Access::kTrusted, AnswerTermRead},
    {kGet | kPost, "/term/send", kExact, Access::kTrusted, AnswerTermSend},
    {kGet | kPost, "/term/resize", kExact, Access::kTrusted, AnswerTermResize},
    {kGet | kPost, "/term/exec", kExact, Access::kTrusted, AnswerTermExec},
    {kGet | kPost, "/term/close", kExact, Access::kTrusted, AnswerTermClose},
    {kGet | kPost, "/term/list", kExact, Access::kTrusted, AnswerTermList},
    {kGet | kPost, "/term/name", kExact, Access::kTrusted, AnswerTermName},
    {kGet | kPost, "/term/share", kExact, Access::kTrusted, AnswerTermShare},
    {kGet | kPost, "/term/focus", kExact, Access::kTrusted, AnswerTermFocus},
    {kGet | kPost, "/term/host/save", kExact, Access::kTrusted, AnswerHostSave},
    {kGet | kPost, "/term/host/list", kExact, Access::kTrusted, AnswerHostList},
    {kGet | kPost, "/term/host/remove", kExact, Access::kTrusted, AnswerHostRemove},
    {kEveryMethod, kTerminals, kPrefix, Access::kTrusted, AnswerNotFound},

    {kGet | kPost, "/chat/say", kExact, Access::kNoForeignPage, AnswerChatSay},
    {kGet, "/chat/next", kExact, Access::kNoForeignPage, AnswerChatNext},
    {kGet, "/roster", kExact, Access::kNoForeignPage, AnswerRoster},
    {kGet, "/channels", kExact, Access::kNoForeignPage, AnswerChannels},
    {kGet, "/chatlog", kExact, Access::kNoForeignPage, AnswerChatLog},
    {kPost, "/dm/thread", kExact, Access::kTrusted, AnswerDmSay},
    {kGet, "/dm/thread", kExact, Access::kTrusted, AnswerDmThread},

    {kGet | kPost, "/vc/dirs", kExact, Access::kTrusted, AnswerVcDirs, "/vc/dirs is loopback-only"},
    {kGet | kPost, "/vc/list", kExact, Access::kNoForeignPage, AnswerVcList},
    {kGet | kPost, "/vc/add", kExact, Access::kTrusted, AnswerVcAdd, "/vc/add is loopback-only"},
    {kGet | kPost, "/vc/unenroll", kExact, Access::kTrusted, AnswerVcUnenroll},

    // Parts that this build leaves out. Their rows say who is turned away, and what exists.
    {kEveryMethod, "/mirenode/", kPrefix, Access::kAny, AnswerNodeDisabled},
    {kEveryMethod, "/attendant/focus", kExact, Access::kTrusted, AnswerNotFound,
     "attendant focus is loopback-only"},
    {kEveryMethod, "/tick/run", kExact, Access::kTrusted, AnswerNotFound,
     "tick run is loopback-only"},
    {kEveryMethod, "/jobs/tick", kExact, Access::kTrusted, AnswerNotFound,
     "job tick is loopback-only"},
    {kEveryMethod, "/jobs", kExact, Access::kTrusted, AnswerNotFound,
     "job control is loopback-only"},
    {kEveryMethod, "/work", kExact, Access::kTrusted, AnswerNotFound,
     "work control is loopback-only"},
};

/// Methods without a bit of their own match only the rows for every method.
unsigned MethodBit(std::string_view method) {
  static constexpr unsigned kOther = 1U << 31U;
  return method == "GET" ? kGet : method == "POST" ? kPost : kOther;
}

const Route* FindRoute(const RequestLine& line) {
  const unsigned method = MethodBit(line.method);
  for (const Route& route : kRoutes) {
    if ((route.methods & method) == 0) continue;
    if (route.prefix ? line.path.starts_with(route.path) : line.path == route.path) return &route;
  }
  return nullptr;
}

Response Refuse(const Route& route) {
  if (!route.plain_refusal) return JsonFailure(kForbidden, route.refusal);
  Response response;
  response.status = kForbidden;
  response.type = kPlain;
  response.body = route.refusal;
  return response;
}

bool IsChatRoute(const Route& route) {
  constexpr RouteHandler kChat[] = {AnswerChatSay, AnswerChatNext, AnswerRoster,  AnswerChannels,
                                    AnswerChatLog, AnswerDmSay,    AnswerDmThread};
  return std::ranges::find(kChat, route.handler) != std::end(kChat);
}

/// Whether what the route works with is there.
bool IsServed(const Route& route, const ServerOptions& options) {
  if (route.path.starts_with(kTerminals)) return options.terminals != nullptr;
  return options.hub != nullptr || !IsChatRoute(route);
}

}  // namespace

std::span<const Route> Routes() {
  return kRoutes;
}

bool MayEnter(const Request& request, Access access) {
  switch (access) {
    case Access::kAny:
      return true;
    case Access::kNoForeignPage:
      return request.trusted || !request.loopback;
    case Access::kTrusted:
      return request.trusted;
  }
  return false;
}

Response AnswerRequest(const Request& request, const Services& services) {
  const Route* route = FindRoute(request.line);
  if (route == nullptr) return AnswerNotFound(request, services);
  if (!MayEnter(request, route->access)) return Refuse(*route);
  if (!IsServed(*route, services.options)) return AnswerNotFound(request, services);
  try {
    return route->handler(request, services);
  } catch (const std::bad_alloc&) {
    return JsonFailure(kServerError, "out of memory");
  } catch (const std::exception&) {
    return JsonFailure(kServerError, "internal error");
  }
}

}  // namespace mrb::server
