#include "server/routes/route_table.h"

#include <exception>
#include <new>

#include "server/routes/chat_routes.h"
#include "server/routes/control_routes.h"
#include "server/routes/static_pages.h"
#include "server/routes/terminal_routes.h"
#include "server/routes/vc_routes.h"

namespace mrb::server {
namespace {

constexpr bool kExact = false;
constexpr bool kPrefix = true;

constexpr Route kRoutes[] = {
    {kGet, "/health", kExact, Access::kAny, Effect::kReads, Needs::kNothing, AnswerHealth},
    {kPost, "/shutdown", kExact, Access::kTrusted, Effect::kChanges, Needs::kNothing,
     AnswerShutdown},
    {kPost, "/console/exec", kExact, Access::kTrusted, Effect::kChanges, Needs::kNothing,
     AnswerConsoleExec, "/console/exec is loopback-only"},
    {kGet, "/console/tail", kExact, Access::kTrusted, Effect::kReads, Needs::kNothing,
     AnswerConsoleTail, "/console/tail is loopback-only"},
    {kGet | kPost, "/interp", kExact, Access::kTrusted, Effect::kChanges, Needs::kNothing,
     AnswerInterp, "interp is loopback-only", true},

    {kPost, "/", kExact, Access::kNoForeignPage, Effect::kChanges, Needs::kNothing, AnswerJsonRpc},
    {kPost, "/rpc", kExact, Access::kNoForeignPage, Effect::kChanges, Needs::kNothing,
     AnswerJsonRpc},
    {kPost, "/mcp", kExact, Access::kNoForeignPage, Effect::kChanges, Needs::kNothing,
     AnswerJsonRpc},
    {kPost, "/a2a", kExact, Access::kNoForeignPage, Effect::kChanges, Needs::kNothing,
     AnswerJsonRpc},
    {kGet, "/mcp", kExact, Access::kAny, Effect::kReads, Needs::kNothing, AnswerMcpBanner},
    {kEveryMethod, "/mcp", kExact, Access::kNoForeignPage, Effect::kReads, Needs::kNothing,
     AnswerMcpOther},
    {kGet, "/a2a", kExact, Access::kAny, Effect::kReads, Needs::kNothing, AnswerAgentBanner},

    {kGet, "/", kExact, Access::kAny, Effect::kReads, Needs::kNothing, AnswerIndex},
    {kGet, "/index.html", kExact, Access::kAny, Effect::kReads, Needs::kNothing, AnswerIndex},
    {kGet, "/ui/api/", kPrefix, Access::kTrusted, Effect::kReads, Needs::kWorkstation,
     AnswerWorkstation},
    {kEveryMethod, "/ui/api/", kPrefix, Access::kTrusted, Effect::kChanges, Needs::kWorkstation,
     AnswerWorkstation},
    {kGet, "/ui", kExact, Access::kAny, Effect::kReads, Needs::kNothing, AnswerUi},
    {kGet, "/ui/", kPrefix, Access::kAny, Effect::kReads, Needs::kNothing, AnswerUi},
    {kGet, "/backgrounds/", kPrefix, Access::kAny, Effect::kReads, Needs::kNothing,
     AnswerBackground},
    {kGet, "/screensaver-", kPrefix, Access::kAny, Effect::kReads, Needs::kNothing,
     AnswerScreensaver},
    {kGet, "/g-walk", kExact, Access::kAny, Effect::kReads, Needs::kNothing, AnswerGlyphwalkers},
    {kGet, "/glyphwalkers", kExact, Access::kAny, Effect::kReads, Needs::kNothing,
     AnswerGlyphwalkers},
    {kGet, "/panel", kExact, Access::kAny, Effect::kReads, Needs::kNothing, AnswerPanel},
    {kGet, "/mirebolt_panel.html", kExact, Access::kAny, Effect::kReads, Needs::kNothing,
     AnswerPanel},
    {kGet, "/orchestration", kExact, Access::kAny, Effect::kReads, Needs::kNothing,
     AnswerOrchestration},
    {kGet, "/orch", kExact, Access::kAny, Effect::kReads, Needs::kNothing, AnswerOrchestration},
    {kGet, "/tasksync", kExact, Access::kAny, Effect::kReads, Needs::kNothing, AnswerTaskSync},
    {kGet, "/onboard", kExact, Access::kAny, Effect::kReads, Needs::kNothing, AnswerConfigure},
    {kGet, "/config_collector.html", kExact, Access::kAny, Effect::kReads, Needs::kNothing,
     AnswerConfigure},
    {kGet, "/configure", kExact, Access::kAny, Effect::kReads, Needs::kNothing, AnswerConfigure},

    {kGet | kPost, "/term/open", kExact, Access::kTrusted, Effect::kChanges, Needs::kTerminals,
     AnswerTermOpen},
    {kGet, "/term/read", kExact, Access::kTrusted, Effect::kReads, Needs::kTerminals,
     AnswerTermRead},
    {kGet | kPost, "/term/send", kExact, Access::kTrusted, Effect::kChanges, Needs::kTerminals,
     AnswerTermSend},
    {kGet | kPost, "/term/resize", kExact, Access::kTrusted, Effect::kChanges, Needs::kTerminals,
     AnswerTermResize},
    {kGet | kPost, "/term/exec", kExact, Access::kTrusted, Effect::kChanges, Needs::kTerminals,
     AnswerTermExec},
    {kGet | kPost, "/term/close", kExact, Access::kTrusted, Effect::kChanges, Needs::kTerminals,
     AnswerTermClose},
    {kGet | kPost, "/term/list", kExact, Access::kTrusted, Effect::kReads, Needs::kTerminals,
     AnswerTermList},
    {kGet | kPost, "/term/name", kExact, Access::kTrusted, Effect::kChanges, Needs::kTerminals,
     AnswerTermName},
    {kGet | kPost, "/term/share", kExact, Access::kTrusted, Effect::kChanges, Needs::kTerminals,
     AnswerTermShare},
    {kGet | kPost, "/term/focus", kExact, Access::kTrusted, Effect::kChanges, Needs::kTerminals,
     AnswerTermFocus},
    {kGet | kPost, "/term/host/save", kExact, Access::kTrusted, Effect::kChanges, Needs::kTerminals,
     AnswerHostSave},
    {kGet | kPost, "/term/host/list", kExact, Access::kTrusted, Effect::kReads, Needs::kTerminals,
     AnswerHostList},
    {kGet | kPost, "/term/host/remove", kExact, Access::kTrusted, Effect::kChanges,
     Needs::kTerminals, AnswerHostRemove},
    {kEveryMethod, "/term/", kPrefix, Access::kTrusted, Effect::kReads, Needs::kTerminals,
     AnswerNotFound},

    {kGet | kPost, "/chat/say", kExact, Access::kNoForeignPage, Effect::kChanges, Needs::kChat,
     AnswerChatSay},
    {kGet, "/chat/next", kExact, Access::kNoForeignPage, Effect::kChanges, Needs::kChat,
     AnswerChatNext},
    {kGet, "/roster", kExact, Access::kNoForeignPage, Effect::kReads, Needs::kChat, AnswerRoster},
    {kGet, "/channels", kExact, Access::kNoForeignPage, Effect::kReads, Needs::kChat,
     AnswerChannels},
    {kGet, "/chatlog", kExact, Access::kNoForeignPage, Effect::kReads, Needs::kChat, AnswerChatLog},
    {kPost, "/dm/thread", kExact, Access::kTrusted, Effect::kChanges, Needs::kChat, AnswerDmSay},
    {kGet, "/dm/thread", kExact, Access::kTrusted, Effect::kChanges, Needs::kChat, AnswerDmThread},

    {kGet | kPost, "/vc/dirs", kExact, Access::kTrusted, Effect::kReads, Needs::kFiles,
     AnswerVcDirs, "/vc/dirs is loopback-only"},
    {kGet | kPost, "/vc/list", kExact, Access::kNoForeignPage, Effect::kReads, Needs::kFiles,
     AnswerVcList},
    {kGet | kPost, "/vc/add", kExact, Access::kTrusted, Effect::kChanges, Needs::kNothing,
     AnswerVcAdd, "/vc/add is loopback-only"},
    {kGet | kPost, "/vc/unenroll", kExact, Access::kTrusted, Effect::kChanges, Needs::kNothing,
     AnswerVcUnenroll},

    // Parts that this build leaves out. Their rows say who is turned away, and what exists.
    {kEveryMethod, "/mirenode/", kPrefix, Access::kAny, Effect::kReads, Needs::kNothing,
     AnswerNodeDisabled},
    {kEveryMethod, "/attendant/focus", kExact, Access::kTrusted, Effect::kReads, Needs::kNothing,
     AnswerNotFound, "attendant focus is loopback-only"},
    {kEveryMethod, "/tick/run", kExact, Access::kTrusted, Effect::kReads, Needs::kNothing,
     AnswerNotFound, "tick run is loopback-only"},
    {kEveryMethod, "/jobs/tick", kExact, Access::kTrusted, Effect::kReads, Needs::kNothing,
     AnswerNotFound, "job tick is loopback-only"},
    {kEveryMethod, "/jobs", kExact, Access::kTrusted, Effect::kReads, Needs::kNothing,
     AnswerNotFound, "job control is loopback-only"},
    {kEveryMethod, "/work", kExact, Access::kTrusted, Effect::kReads, Needs::kNothing,
     AnswerNotFound, "work control is loopback-only"},
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

/// The answer for a route whose part of the server is not there.
std::optional<Response> AnswerMissing(const Request& request, const Services& services,
                                      Needs needs) {
  const ServerOptions& options = services.options;
  switch (needs) {
    case Needs::kNothing:
      break;
    case Needs::kTerminals:
      if (options.terminals == nullptr) return AnswerNotFound(request, services);
      break;
    case Needs::kChat:
      if (options.hub == nullptr) return AnswerNotFound(request, services);
      break;
    case Needs::kFiles:
      if (options.enrolled_directories && options.versioned_stores) break;
      return JsonFailure(kUnavailable, "versioned files not wired");
    case Needs::kWorkstation:
      if (options.workstation) break;
      return JsonFailure(kUnavailable, "workstation not wired");
  }
  return std::nullopt;
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
  if (route == nullptr) return AnswerNotFound(request, services);
  if (auto missing = AnswerMissing(request, services, route->needs)) return *std::move(missing);
  try {
    return route->handler(request, services);
  } catch (const std::bad_alloc&) {
    return JsonFailure(kServerError, "out of memory");
  } catch (const std::exception&) {
    return JsonFailure(kServerError, "internal error");
  }
}

}  // namespace mrb::server
