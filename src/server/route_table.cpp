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
    {kGet, "/health", kExact, Access::kAny, Effect::kReads, AnswerHealth},
    {kPost, "/shutdown", kExact, Access::kTrusted, Effect::kChanges, AnswerShutdown},
    {kPost, "/console/exec", kExact, Access::kTrusted, Effect::kChanges, AnswerConsoleExec,
     "/console/exec is loopback-only"},
    {kGet, "/console/tail", kExact, Access::kTrusted, Effect::kReads, AnswerConsoleTail,
     "/console/tail is loopback-only"},
    {kGet | kPost, "/interp", kExact, Access::kTrusted, Effect::kChanges, AnswerInterp,
     "interp is loopback-only", true},

    {kPost, "/", kExact, Access::kNoForeignPage, Effect::kChanges, AnswerJsonRpc},
    {kPost, "/rpc", kExact, Access::kNoForeignPage, Effect::kChanges, AnswerJsonRpc},
    {kPost, "/mcp", kExact, Access::kNoForeignPage, Effect::kChanges, AnswerJsonRpc},
    {kPost, "/a2a", kExact, Access::kNoForeignPage, Effect::kChanges, AnswerJsonRpc},
    {kGet, "/mcp", kExact, Access::kAny, Effect::kReads, AnswerMcpBanner},
    {kEveryMethod, "/mcp", kExact, Access::kNoForeignPage, Effect::kReads, AnswerMcpOther},
    {kGet, "/a2a", kExact, Access::kAny, Effect::kReads, AnswerAgentBanner},

    {kGet, "/", kExact, Access::kAny, Effect::kReads, AnswerIndex},
    {kGet, "/index.html", kExact, Access::kAny, Effect::kReads, AnswerIndex},
    {kGet, "/ui/api/", kPrefix, Access::kTrusted, Effect::kReads, AnswerWorkstation},
    {kEveryMethod, "/ui/api/", kPrefix, Access::kTrusted, Effect::kChanges, AnswerWorkstation},
    {kGet, "/ui", kExact, Access::kAny, Effect::kReads, AnswerUi},
    {kGet, "/ui/", kPrefix, Access::kAny, Effect::kReads, AnswerUi},
    {kGet, "/backgrounds/", kPrefix, Access::kAny, Effect::kReads, AnswerBackground},
    {kGet, "/screensaver-", kPrefix, Access::kAny, Effect::kReads, AnswerScreensaver},
    {kGet, "/g-walk", kExact, Access::kAny, Effect::kReads, AnswerGlyphwalkers},
    {kGet, "/glyphwalkers", kExact, Access::kAny, Effect::kReads, AnswerGlyphwalkers},
    {kGet, "/panel", kExact, Access::kAny, Effect::kReads, AnswerPanel},
    {kGet, "/mirebolt_panel.html", kExact, Access::kAny, Effect::kReads, AnswerPanel},
    {kGet, "/orchestration", kExact, Access::kAny, Effect::kReads, AnswerOrchestration},
    {kGet, "/orch", kExact, Access::kAny, Effect::kReads, AnswerOrchestration},
    {kGet, "/tasksync", kExact, Access::kAny, Effect::kReads, AnswerTaskSync},
    {kGet, "/onboard", kExact, Access::kAny, Effect::kReads, AnswerConfigure},
    {kGet, "/config_collector.html", kExact, Access::kAny, Effect::kReads, AnswerConfigure},
    {kGet, "/configure", kExact, Access::kAny, Effect::kReads, AnswerConfigure},

    {kGet | kPost, "/term/open", kExact, Access::kTrusted, Effect::kChanges, AnswerTermOpen},
    {kGet, "/term/read", kExact, Access::kTrusted, Effect::kReads, AnswerTermRead},
    {kGet | kPost, "/term/send", kExact, Access::kTrusted, Effect::kChanges, AnswerTermSend},
    {kGet | kPost, "/term/resize", kExact, Access::kTrusted, Effect::kChanges, AnswerTermResize},
    {kGet | kPost, "/term/exec", kExact, Access::kTrusted, Effect::kChanges, AnswerTermExec},
    {kGet | kPost, "/term/close", kExact, Access::kTrusted, Effect::kChanges, AnswerTermClose},
    {kGet | kPost, "/term/list", kExact, Access::kTrusted, Effect::kReads, AnswerTermList},
    {kGet | kPost, "/term/name", kExact, Access::kTrusted, Effect::kChanges, AnswerTermName},
    {kGet | kPost, "/term/share", kExact, Access::kTrusted, Effect::kChanges, AnswerTermShare},
    {kGet | kPost, "/term/focus", kExact, Access::kTrusted, Effect::kChanges, AnswerTermFocus},
    {kGet | kPost, "/term/host/save", kExact, Access::kTrusted, Effect::kChanges, AnswerHostSave},
    {kGet | kPost, "/term/host/list", kExact, Access::kTrusted, Effect::kReads, AnswerHostList},
    {kGet | kPost, "/term/host/remove", kExact, Access::kTrusted, Effect::kChanges,
     AnswerHostRemove},
    {kEveryMethod, kTerminals, kPrefix, Access::kTrusted, Effect::kReads, AnswerNotFound},

    {kGet | kPost, "/chat/say", kExact, Access::kNoForeignPage, Effect::kChanges, AnswerChatSay},
    {kGet, "/chat/next", kExact, Access::kNoForeignPage, Effect::kChanges, AnswerChatNext},
    {kGet, "/roster", kExact, Access::kNoForeignPage, Effect::kReads, AnswerRoster},
    {kGet, "/channels", kExact, Access::kNoForeignPage, Effect::kReads, AnswerChannels},
    {kGet, "/chatlog", kExact, Access::kNoForeignPage, Effect::kReads, AnswerChatLog},
    {kPost, "/dm/thread", kExact, Access::kTrusted, Effect::kChanges, AnswerDmSay},
    {kGet, "/dm/thread", kExact, Access::kTrusted, Effect::kChanges, AnswerDmThread},

    {kGet | kPost, "/vc/dirs", kExact, Access::kTrusted, Effect::kReads, AnswerVcDirs,
     "/vc/dirs is loopback-only"},
    {kGet | kPost, "/vc/list", kExact, Access::kNoForeignPage, Effect::kReads, AnswerVcList},
    {kGet | kPost, "/vc/add", kExact, Access::kTrusted, Effect::kChanges, AnswerVcAdd,
     "/vc/add is loopback-only"},
    {kGet | kPost, "/vc/unenroll", kExact, Access::kTrusted, Effect::kChanges, AnswerVcUnenroll},

    // Parts that this build leaves out. Their rows say who is turned away, and what exists.
    {kEveryMethod, "/mirenode/", kPrefix, Access::kAny, Effect::kReads, AnswerNodeDisabled},
    {kEveryMethod, "/attendant/focus", kExact, Access::kTrusted, Effect::kReads, AnswerNotFound,
     "attendant focus is loopback-only"},
    {kEveryMethod, "/tick/run", kExact, Access::kTrusted, Effect::kReads, AnswerNotFound,
     "tick run is loopback-only"},
    {kEveryMethod, "/jobs/tick", kExact, Access::kTrusted, Effect::kReads, AnswerNotFound,
     "job tick is loopback-only"},
    {kEveryMethod, "/jobs", kExact, Access::kTrusted, Effect::kReads, AnswerNotFound,
     "job control is loopback-only"},
    {kEveryMethod, "/work", kExact, Access::kTrusted, Effect::kReads, AnswerNotFound,
     "work control is loopback-only"},
};

/// Methods without a bit of their own match only the rows for every method.
unsigned MethodBit(std::string_view method) {
  static constexpr unsigned kOther = 1U << 31U;
  return method == "GET" ? kGet : method == "POST" ? kPost : kOther;
}

Response Refusal(const Route& route, std::string_view message) {
  if (!route.plain_refusal) return JsonFailure(kForbidden, message);
  Response response;
  response.status = kForbidden;
  response.type = kPlain;
  response.body = message;
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

const Route* FindRoute(const RequestLine& line) {
  const unsigned method = MethodBit(line.method);
  for (const Route& route : kRoutes) {
    if ((route.methods & method) == 0) continue;
    if (route.prefix ? line.path.starts_with(route.path) : line.path == route.path) return &route;
  }
  return nullptr;
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

std::optional<Response> RefuseRequest(const Request& request, const Route* route) {
  if (route == nullptr) return std::nullopt;  // 404 for everybody
  const bool may_enter = MayEnter(request, route->access);
  const bool only_looks = route->effect == Effect::kReads || route->access == Access::kAny;
  if (may_enter && (only_looks || !request.page_load)) return std::nullopt;
  const bool has_reason = !may_enter && !request.objection.empty();
  return Refusal(*route, has_reason ? request.objection : route->refusal);
}

Response AnswerRequest(const Request& request, const Services& services) {
  const Route* route = FindRoute(request.line);
  if (auto refusal = RefuseRequest(request, route)) return *std::move(refusal);
  if (route == nullptr || !IsServed(*route, services.options)) {
    return AnswerNotFound(request, services);
  }
  try {
    return route->handler(request, services);
  } catch (const std::bad_alloc&) {
    return JsonFailure(kServerError, "out of memory");
  } catch (const std::exception&) {
    return JsonFailure(kServerError, "internal error");
  }
}

}  // namespace mrb::server
