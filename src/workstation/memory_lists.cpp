// memory/contexts, topics, memos, memo and recent: what is remembered.
// memory/download and memory/export: a context as a store file.

#include <algorithm>

#include "common/text.h"
#include "memory/record/memo_types.h"
#include "memory/record/store_format.h"
#include "memory/text/tokenizer.h"
#include "platform/paths.h"
#include "vfs/query/text_search.h"
#include "workstation/memo_json.h"
#include "workstation/params.h"
#include "workstation/route_context.h"

namespace mrb::workstation {

namespace {

using memory::ContextIndex;

constexpr std::size_t kMaxShown = 2000;                  // bytes of a memo in a list
constexpr std::size_t kMaxGlimpsed = 300;                // of one in the time line
constexpr std::size_t kMaxText = std::size_t{1} << 20U;  // of a memo by itself
constexpr std::uint64_t kMaxRecent = 10'000;             // as far back as a page goes

void AddText(JsonWriter& json, std::string_view content, std::size_t most) {
  const std::string_view text = CutUtf8(content, most);
  json.field("text", text).field("cut", text.size() < content.size());
}

struct Topic {
  std::string_view name;
  std::uint32_t id = 0;
  std::uint32_t memos = 0;
  std::uint64_t written = 0;
};

using Less = bool (*)(const Topic&, const Topic&);

struct Order {
  std::string_view name;
  Less less;
};

constexpr Order kOrders[] = {
    {"name", [](const Topic& a, const Topic& b) { return a.name < b.name; }},
    {"recent",
     [](const Topic& a, const Topic& b) {
       return std::pair(b.written, b.id) < std::pair(a.written, a.id);
     }},
    {"size", [](const Topic& a,
                const Topic& b) { return std::pair(b.memos, a.id) < std::pair(a.memos, b.id); }},
    {"added", [](const Topic& a, const Topic& b) { return a.id < b.id; }},
};

std::vector<Topic> TopicsOf(const ContextIndex& index, const std::string& filter) {
  std::vector<Topic> topics;
  topics.reserve(index.topics().size());
  const query::TextSearch search(filter);
  for (std::uint32_t id = 0; id < index.topics().size(); ++id) {
    const std::string_view name = index.topics().name(id);
    if (!filter.empty() && !search.found_in(name)) continue;
    const auto rows = index.topics().rows(id);
    topics.push_back({name, id, static_cast<std::uint32_t>(rows.size()),
                      rows.empty() ? 0 : index.memos()[rows.back()].written});
  }
  return topics;
}

/// A memo of some context, as the time line puts it in order.
struct Recent {
  std::uint64_t written = 0;
  std::size_t context = 0;
  std::uint32_t row = 0;
};

/// The memos of some rows in their order. One context is held at a time: who held several could
/// make somebody wait who makes us wait. What has changed since the rows were found is left out.
std::vector<std::string> WriteOut(memory::ContextRegistry& registry,
                                  std::span<const std::string> ids, std::span<const Recent> rows) {
  std::vector<std::string> written(rows.size());
  for (std::size_t context = 0; context < ids.size(); ++context) {
    if (std::ranges::find(rows, context, &Recent::context) == rows.end()) continue;
    const auto access = registry.read(ids[context]);
    if (!access) continue;
    const ContextIndex& index = access->store->index();
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const auto& [time, of, row] = rows[i];
      if (of != context || row >= index.memos().size() || index.memos()[row].written != time) {
        continue;
      }
      JsonWriter json;
      json.begin_object().field("context", ids[context]);
      AddMemo(json, index, row);
      AddText(json, index.record(row).content, kMaxGlimpsed);
      written[i] = json.end_object().take();
    }
  }
  std::erase(written, std::string());
  return written;
}

/// An answer is made in memory as a whole; beyond this a file is the better way.
constexpr std::uint64_t kMaxDownloaded = std::uint64_t{64} << 20U;

/// The id as a name that is safe in a header.
std::string FileName(std::string_view id) {
  std::string name;
  for (const char c : id) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '-' || c == '_' || c == '.';
    name += plain ? c : '_';
  }
  return name + ".mrb4";
}

}  // namespace

Answer AnswerContexts(RouteContext& route, const Params& /*params*/) {
  const auto listed = route.parts.memory.contexts().list();
  if (!listed) return std::unexpected(listed.error());
  JsonWriter json = BeginAnswer();
  json.key("types").begin_array();
  for (const std::string_view type : Split(memory::MemoTypeNames(), '|')) json.value(type);
  json.end_array().key("contexts").begin_array();
  for (const auto& context : *listed) {
    json.begin_object().field("id", context.id).field("loaded", context.loaded);
    json.field("topics", context.topics).field("memos", context.memos);
    json.field("bytes", context.bytes).field("legacy", context.legacy).end_object();
  }
  json.end_array();
  return EndAnswer(json);
}

Answer AnswerTopics(RouteContext& route, const Params& params) {
  const auto page = params.page();
  if (!page) return std::unexpected(page.error());
  const std::string order = params.text("order");
  const auto* const wanted =
      order.empty() ? std::begin(kOrders) : std::ranges::find(kOrders, order, &Order::name);
  if (wanted == std::end(kOrders)) return Fail(ErrorKind::kInvalidArgument, "no such order");
  const auto access = ContextOf(route.parts.memory.contexts(), params);
  if (!access) return std::unexpected(access.error());
  const ContextIndex& index = access->store->index();
  std::vector<Topic> topics = TopicsOf(index, params.text("filter"));
  JsonWriter json = BeginAnswer();
  json.field("total", topics.size()).field("all", index.topics().size());
  json.field("memos", index.memos().size()).field("keywords", index.keywords().size());
  json.field("bytes", access->store->heap().used()).key("topics").begin_array();
  for (const Topic& topic : PageOf(topics, *page, wanted->less)) {
    json.begin_object().name_field("topic", topic.name).field("memos", topic.memos);
    json.field("written", topic.written).end_object();
  }
  json.end_array();
  return EndAnswer(json);
}

Answer AnswerMemos(RouteContext& route, const Params& params) {
  const auto page = params.page();
  if (!page) return std::unexpected(page.error());
  const auto access = ContextOf(route.parts.memory.contexts(), params);
  if (!access) return std::unexpected(access.error());
  const ContextIndex& index = access->store->index();
  auto rows = index.topic_rows(params.text("topic"));
  JsonWriter json = BeginAnswer();
  json.field("total", rows.size()).key("memos").begin_array();
  rows = rows.subspan(std::min<std::uint64_t>(page->offset, rows.size()));
  for (const std::uint32_t row : rows.first(std::min<std::uint64_t>(page->limit, rows.size()))) {
    json.begin_object();
    AddMemo(json, index, row);
    AddText(json, index.record(row).content, kMaxShown);
    json.end_object();
  }
  json.end_array();
  return EndAnswer(json);
}

Answer AnswerMemo(RouteContext& route, const Params& params) {
  const auto n = params.number("n", 1, UINT32_MAX);
  if (!n) return std::unexpected(n.error());
  const auto access = ContextOf(route.parts.memory.contexts(), params);
  if (!access) return std::unexpected(access.error());
  const ContextIndex& index = access->store->index();
  const auto row = access->store->find_memo(params.text("topic"), *n);
  if (!row) return Fail(ErrorKind::kNotFound, "no such memo");
  const memory::RecordView record = index.record(*row);
  const memory::TokenList tokens = memory::StripToTokens(record.content);
  const auto of_content = tokens.views();
  JsonWriter json = BeginAnswer();
  AddMemo(json, index, *row);
  AddText(json, record.content, kMaxText);
  // The memo is indexed under what its text holds anyway; these are what somebody added.
  json.key("given").begin_array();
  for (const std::string_view keyword : KeywordsOf(record)) {
    if (std::ranges::find(of_content, keyword) == of_content.end()) json.value(keyword);
  }
  json.end_array();
  return EndAnswer(json);
}

Answer AnswerRecent(RouteContext& route, const Params& params) {
  const auto page = params.page();
  if (!page) return std::unexpected(page.error());
  auto& registry = route.parts.memory.contexts();
  const std::vector<std::string> ids = ContextsOf(registry, params);
  const std::uint64_t reach = std::min(page->offset + page->limit, kMaxRecent);
  std::vector<Recent> found;
  Failures failures;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    const auto access = registry.read(ids[i]);
    if (!access) {
      failures.push_back({ids[i], access.error()});
      continue;
    }
    const memory::ContextIndex& index = access->store->index();
    for (const std::uint32_t row : index.newest(reach)) {
      found.push_back({index.memos()[row].written, i, row});
    }
  }
  const auto rows = PageOf(found, *page, [](const Recent& a, const Recent& b) {
    return std::tuple(b.written, a.context, b.row) < std::tuple(a.written, b.context, a.row);
  });
  if (!failures.empty() && failures.size() == ids.size()) {
    return std::unexpected(failures.front().error);
  }
  JsonWriter json = BeginAnswer();
  AddFailures(json, failures);
  json.key("memos").begin_array();
  for (const std::string& memo : WriteOut(registry, ids, rows)) json.raw(memo);
  json.end_array().field("more", found.size() > page->offset + page->limit);
  return EndAnswer(json);
}

Answer AnswerDownload(RouteContext& route, const Params& params) {
  const auto access = ContextOf(route.parts.memory.contexts(), params);
  if (!access) return std::unexpected(access.error());
  const std::string_view records = access->store->heap().bytes();
  if (records.size() > kMaxDownloaded) {
    return Fail(ErrorKind::kInvalidArgument, "too large to download; export it to a file");
  }
  server::Response response;
  response.type = "application/octet-stream";
  response.headers =
      "\r\nX-Content-Type-Options: nosniff\r\nContent-Disposition: attachment; "
      "filename=\"" +
      FileName(access->context->id()) + "\"";
  response.body.reserve(memory::kMagic.size() + records.size());
  response.body.append(memory::kMagic).append(records);
  return response;
}

Answer AnswerExport(RouteContext& route, const Params& params) {
  auto path = params.needed("path");
  if (!path) return std::unexpected(path.error());
  if (!platform::IsAbsolutePath(*path)) {
    return Fail(ErrorKind::kInvalidArgument, "path must be absolute");
  }
  const auto access = ContextOf(route.parts.memory.contexts(), params);
  if (!access) return std::unexpected(access.error());
  const auto there = route.parts.memory.options().files->status(*path);
  if (there && there->type == platform::FileStatus::Type::kDirectory) {
    *path = platform::JoinPath(*path, access->context->id() + ".mrb4");
  }
  const auto bytes = access->store->export_to(*path);
  if (!bytes) return std::unexpected(bytes.error());
  JsonWriter json = BeginAnswer();
  json.name_field("path", *path).field("bytes", *bytes);
  return EndAnswer(json);
}

}  // namespace mrb::workstation
