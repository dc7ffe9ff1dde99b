// status and events: what a page shows in its corner, and what keeps it up to date.

#include <algorithm>

#include "common/version.h"
#include "memory/context/context_registry.h"
#include "platform/system_info.h"
#include "workstation/route_context.h"

namespace mrb::workstation {
namespace {

/// Shorter than what proxies and browsers give a request without an answer.
constexpr std::uint64_t kMaxWait = 25'000;

std::uint64_t SecondsSince(std::chrono::steady_clock::time_point start) {
  using std::chrono::duration_cast;
  const auto passed = std::chrono::steady_clock::now() - start;
  return static_cast<std::uint64_t>(duration_cast<std::chrono::seconds>(passed).count());
}

void AddMemory(JsonWriter& json) {
  const platform::SystemMemory system = platform::ReadSystemMemory();
  json.key("memory").begin_object();
  json.field("resident", platform::ProcessResidentBytes());
  json.field("total", system.total).field("available", system.available).end_object();
}

void AddRoots(JsonWriter& json, vfs::StoreRegistry& stores) {
  json.key("roots").begin_array();
  for (const auto& store : stores.all()) {
    if (store->category() == vfs::StoreCategory::kConfiguration) continue;
    json.begin_object().field("id", StoreId(*store)).name_field("root", store->disk_root());
    json.field("watched", stores.is_watched(*store)).field("follower", store->is_follower());
    json.end_object();
  }
  json.end_array();
}

/// The ways in which each loaded context finds memos again.
void AddLanes(JsonWriter& json, memory::ContextRegistry& contexts) {
  json.key("lanes").begin_array();
  for (const std::string& id : contexts.loaded()) {
    const auto access = contexts.read(id);
    if (!access) continue;
    const memory::ContextIndex& index = access->store->index();
    const memory::EmbedSettings& lane = access->store->overlays().settings();
    json.begin_object().field("context", id).field("memos", index.memos().size());
    json.field("semantic", lane.armed).field("model", lane.armed ? lane.model : "");
    json.field("vectors", index.totals().vectors).end_object();
  }
  json.end_array();
}

}  // namespace

Answer AnswerStatus(RouteContext& route, const Params& /*params*/) {
  const auto terminals = route.parts.terminals.list();
  const auto alive =
      std::ranges::count_if(terminals, [](const auto& session) { return session->alive(); });
  JsonWriter json = BeginAnswer();
  json.field("app", kAppName).field("version", kVersion).field("port", route.parts.port);
  json.field("uptime", SecondsSince(route.started)).field("author", route.parts.author());
  AddMemory(json);
  AddRoots(json, route.parts.files.files().registry());
  AddLanes(json, route.parts.memory.contexts());
  json.key("terminals").begin_object();
  json.field("all", terminals.size()).field("alive", alive).end_object();
  return EndAnswer(json);
}

Answer AnswerEvents(RouteContext& route, const Params& params) {
  const auto after = params.number("after", 0, UINT64_MAX);
  const auto wait = params.number("wait", kMaxWait, kMaxWait);
  if (!after) return std::unexpected(after.error());
  if (!wait) return std::unexpected(wait.error());
  const auto batch = route.parts.activity.events().wait(*after, std::chrono::milliseconds(*wait));
  if (!batch) return std::unexpected(batch.error());
  JsonWriter json = BeginAnswer();
  json.field("next", batch->last).field("missed", batch->missed);
  json.key("events").begin_array();
  for (const std::string& event : batch->events) json.raw("{" + event + "}");
  json.end_array();
  return EndAnswer(json);
}

}  // namespace mrb::workstation
