#include "workstation/workstation.h"

#include <algorithm>
#include <array>
#include <new>

#include "workstation/route_context.h"

namespace mrb::workstation {
namespace {

constexpr std::string_view kPrefix = "/ui/api/";

/// One route. What changes something is a POST: nothing else is sent by a page without its script.
struct Route {
  std::string_view method;
  std::string_view name;  ///< behind /ui/api/
  Handler handler;
};

constexpr std::array kRoutes{
    Route{"GET", "status", &AnswerStatus},
    Route{"GET", "events", &AnswerEvents},
    Route{"GET", "files/stores", &AnswerStores},
    Route{"GET", "files/folder", &AnswerFolder},
    Route{"GET", "files/timeline", &AnswerTimeline},
    Route{"GET", "files/versions", &AnswerVersions},
    Route{"GET", "files/bytes", &AnswerBytes},
    Route{"GET", "files/diff", &AnswerDiff},
    Route{"GET", "files/names", &AnswerFileNames},
    Route{"GET", "files/query", &AnswerFileQuery},
    Route{"GET", "files/grep", &AnswerGrep},
    Route{"POST", "files/restore", &AnswerRestore},
    Route{"POST", "files/revert", &AnswerRevert},
    Route{"GET", "memory/contexts", &AnswerContexts},
    Route{"GET", "memory/topics", &AnswerTopics},
    Route{"GET", "memory/memos", &AnswerMemos},
    Route{"GET", "memory/memo", &AnswerMemo},
    Route{"GET", "memory/recent", &AnswerRecent},
    Route{"GET", "memory/search", &AnswerMemorySearch},
    Route{"POST", "memory/add", &AnswerAddMemo},
    Route{"POST", "memory/update", &AnswerUpdateMemo},
    Route{"POST", "memory/delete", &AnswerDeleteMemo},
    Route{"POST", "memory/undo", &AnswerUndo},
    Route{"GET", "memory/download", &AnswerDownload},
    Route{"POST", "memory/export", &AnswerExport},
};

std::string_view StatusOf(ErrorKind kind) {
  switch (kind) {
    case ErrorKind::kNotFound:
      return server::kNotFound;
    case ErrorKind::kInvalidArgument:
    case ErrorKind::kAlreadyExists:
      return server::kBadRequest;
    case ErrorKind::kBusy:
    case ErrorKind::kTimedOut:
    case ErrorKind::kUnavailable:
      return server::kUnavailable;
    default:
      return server::kServerError;
  }
}

server::Response WrongMethod(const Route& route) {
  server::Response refusal =
      server::JsonFailure(server::kMethodNotAllowed, std::string(route.method) + " it");
  refusal.headers = "\r\nAllow: " + std::string(route.method);
  return refusal;
}

}  // namespace

struct Workstation::State {
  RouteContext context;
};

Workstation::Workstation(WorkstationParts parts) : state_(new State{{.parts = std::move(parts)}}) {}

Workstation::~Workstation() = default;

server::Response Workstation::answer(const server::Request& request) {
  std::string_view name = request.line.path;
  name.remove_prefix(std::min(name.size(), kPrefix.size()));
  const auto route = std::ranges::find(kRoutes, name, &Route::name);
  if (route == kRoutes.end()) return server::JsonFailure(server::kNotFound, "no such route");
  if (request.line.method != route->method) return WrongMethod(*route);
  auto answer = route->handler(state_->context, Params(request));
  if (answer) return *std::move(answer);
  return server::JsonFailure(StatusOf(answer.error().kind), answer.error().text);
}

}  // namespace mrb::workstation
