// files/query and files/grep: files by an expression, and by their lines.

#include <algorithm>
#include <atomic>

#include "common/parallel.h"
#include "common/text.h"
#include "vfs/search/line_search.h"
#include "vfs/verbs/store_query.h"
#include "workstation/route_context.h"

namespace mrb::workstation {
namespace {

constexpr std::size_t kFilesPerTurn = 32;
constexpr std::uint64_t kDefaultLines = 500;
constexpr std::uint64_t kMaxLines = 2000;   // what somebody may still look through
constexpr std::size_t kMaxOfOneFile = 100;  // so that one file does not hide the others
constexpr std::size_t kMaxLine = 400;
constexpr std::size_t kLead = 80;  // of a longer line, before its match

/// What is still being typed often cannot be read yet: no failure, but what is wrong with it.
server::Response Problem(const Error& error) {
  JsonWriter json = BeginAnswer();
  json.field("problem", error.text).key("files").begin_array().end_array();
  for (const char* count : {"total", "matched", "found", "shown"}) json.field(count, 0);
  return EndAnswer(json);
}

void AddFile(JsonWriter& json, const vfs::VersionStore& store, const vfs::SnapshotFile& file) {
  json.begin_object().field("store", StoreId(store)).key("file").begin_object();
  json.name_field("path", file.path).field("version", file.version);
  json.field("author", file.author.text()).field("stamp", StampText(file.stamp));
  json.field("size", file.bytes.bytes().size()).field("deleted", file.is_deleted);
  json.end_object().end_object();
}

/// What stands inside of "?( )", when it is written with it.
std::string_view Inside(std::string_view text) {
  text = Trim(text);
  if (!text.starts_with("?(") || !text.ends_with(')')) return text;
  return text.substr(2, text.size() - 3);
}

/// The matching lines of one file, written out.
struct Matches {
  std::string lines;
  std::size_t shown = 0;
  std::uint64_t found = 0;
};

void AddLine(JsonWriter& json, const search::LineMatch& match, search::Span span) {
  const std::size_t from =
      match.line.size() <= kMaxLine || span.begin < kLead ? 0 : span.begin - kLead;
  const std::string_view text = CutUtf8(match.line.substr(from), kMaxLine);
  json.begin_object().field("line", match.number).field("lead", from > 0);
  // Three pieces instead of places: the page counts characters, and these are bytes.
  const std::size_t begin = std::min(span.begin - from, text.size());
  const std::size_t end = std::clamp(span.end - from, begin, text.size());
  json.field("before", text.substr(0, begin)).field("hit", text.substr(begin, end - begin));
  json.field("after", text.substr(end)).end_object();
}

Matches SearchFile(search::LineSearch& search, std::string_view bytes) {
  Matches matches;
  if (bytes.find('\0') != std::string_view::npos) return matches;
  JsonWriter json;
  json.begin_array();
  search.search(bytes, [&](const search::LineMatch& match) {
    if (matches.found++ < kMaxOfOneFile) AddLine(json, match, search.span(match.line));
    return true;
  });
  matches.shown = std::min<std::uint64_t>(matches.found, kMaxOfOneFile);
  if (matches.found > 0) matches.lines = json.end_array().take();
  return matches;
}

}  // namespace

Answer AnswerFileQuery(RouteContext& route, const Params& params) {
  const auto page = params.page();
  if (!page) return std::unexpected(page.error());
  const auto wanted = params.needed("q");
  if (!wanted) return std::unexpected(wanted.error());
  const auto expression = query::Expression::parse(Inside(*wanted));
  if (!expression) return Problem(expression.error());
  const auto stores = StoresOf(route, params);
  if (!stores) return std::unexpected(stores.error());
  JsonWriter json = BeginAnswer();
  std::uint64_t total = 0;
  json.key("files").begin_array();
  for (const auto& store : *stores) {
    const vfs::StoreSnapshot found = vfs::FittingFiles(store, *expression);
    for (const vfs::SnapshotFile& file : found.files) {
      const std::uint64_t place = total++;
      if (place >= page->offset && place < page->offset + page->limit) AddFile(json, *store, file);
    }
  }
  json.end_array().field("total", total);
  return EndAnswer(json);
}

Answer AnswerGrep(RouteContext& route, const Params& params) {
  const auto limit = params.number("limit", kDefaultLines, kMaxLines);
  if (!limit) return std::unexpected(limit.error());
  const auto pattern = params.needed("q");
  if (!pattern) return std::unexpected(pattern.error());
  const auto matcher = search::Matcher::make(*pattern, {.ignore_case = !params.is_set("case"),
                                                        .whole_words = params.is_set("words"),
                                                        .literal = params.is_set("literal")});
  if (!matcher) return Problem(matcher.error());
  const auto stores = StoresOf(route, params);
  if (!stores) return std::unexpected(stores.error());
  JsonWriter json = BeginAnswer();
  std::uint64_t files = 0;
  std::uint64_t found = 0;
  std::uint64_t shown = 0;
  json.key("files").begin_array();
  for (const auto& store : *stores) {
    const vfs::StoreSnapshot snapshot = vfs::TakeSnapshot(store);
    std::vector<Matches> matches(snapshot.files.size());
    ParallelFor(matches.size(), kFilesPerTurn, [&] {
      return
          [&, search = search::LineSearch(*matcher)](std::size_t begin, std::size_t end) mutable {
            for (std::size_t i = begin; i < end; ++i) {
              matches[i] = SearchFile(search, snapshot.files[i].bytes.bytes());
            }
          };
    });
    for (std::size_t i = 0; i < matches.size(); ++i) {
      if (matches[i].found == 0) continue;
      ++files;
      found += matches[i].found;
      if (shown >= *limit) continue;
      shown += matches[i].shown;
      json.begin_object().field("store", StoreId(*store));
      json.name_field("path", snapshot.files[i].path).field("found", matches[i].found);
      json.key("lines").raw(matches[i].lines).end_object();
    }
  }
  json.end_array().field("matched", files).field("found", found).field("shown", shown);
  return EndAnswer(json);
}

}  // namespace mrb::workstation
