// files/timeline: who saved what, newest first, over one store or all.
//
// A place in the timeline is a place in each store's change book, since their stamps alone, whole
// seconds, do not tell lines apart. Places only move when a book is read anew after a move, by the
// few lines that the move carried along.

#include <algorithm>
#include <map>

#include "common/text.h"
#include "workstation/route_context.h"

namespace mrb::workstation {
namespace {

using StoreRef = std::shared_ptr<vfs::VersionStore>;
using Line = ChangeLogTable::Line;

constexpr std::size_t kMaxAuthors = 100;  // in the list to choose from

/// "2026", "2026-11-23" or "2026-11-23 09:05:00" and what lies between, as a packed stamp.
Result<std::uint64_t> ParseSince(std::string_view text) {
  std::uint64_t packed = 0;
  int digits = 0;
  for (const char c : text) {
    if (c >= '0' && c <= '9') {
      packed = packed * 10 + static_cast<std::uint64_t>(c - '0');
      ++digits;
    } else if (std::string_view("-: T").find(c) == std::string_view::npos) {
      digits = 99;
    }
    if (digits > 14) return Fail(ErrorKind::kInvalidArgument, "since takes YYYY-MM-DD [HH:MM:SS]");
  }
  if (digits == 0) return std::uint64_t{0};
  for (; digits < 14; ++digits) packed *= 10;
  return packed;
}

/// "d0123abc:17.f0123abc:4": in each store, how many lines are still to come.
using Places = std::map<std::string, std::uint64_t, std::less<>>;

Places ParsePlaces(std::string_view text) {
  Places places;
  for (const std::string_view part : Split(text, '.')) {
    const std::size_t colon = part.find(':');
    if (colon == std::string_view::npos) continue;
    places[std::string(part.substr(0, colon))] = ParseDecimal(part.substr(colon + 1)).value_or(0);
  }
  return places;
}

struct Wanted {
  std::uint64_t since = 0;
  std::string author;
  std::string path;  ///< a file, or a folder with what is below; empty: any

  [[nodiscard]] bool fits(const ChangeLogTable& book, const Line& line) const {
    if (line.carried || line.stamp < since) return false;
    if (!author.empty() && book.name(line.author) != author) return false;
    if (path.empty()) return true;
    const std::string_view name = book.name(line.path);
    return name.starts_with(path) && (name.size() == path.size() || name[path.size()] == '/');
  }
};

/// A walk back through one book.
struct Walk {
  const ChangeLogTable* book = nullptr;
  std::string store;
  std::size_t left = 0;  ///< lines before the walk's place

  [[nodiscard]] const Line& line() const { return book->lines()[left - 1]; }

  void skip(const Wanted& wanted) {
    while (left > 0 && !wanted.fits(*book, line())) --left;
  }
};

void AddLine(JsonWriter& json, const Walk& walk) {
  const Line& line = walk.line();
  json.begin_object().field("store", walk.store).name_field("path", walk.book->name(line.path));
  json.field("version", line.version).field("author", walk.book->name(line.author));
  json.field("stamp", StampText(UnpackStamp(line.stamp)));
  json.field("kind", vfs::ChangeKindName(line.kind)).field("size", line.size).end_object();
}

void AddAuthors(JsonWriter& json, std::span<const ChangeLogTable* const> books) {
  std::vector<std::string_view> authors;
  for (const ChangeLogTable* book : books)
    std::ranges::copy(book->authors(), back_inserter(authors));
  std::ranges::sort(authors);
  authors.erase(std::ranges::unique(authors).begin(), authors.end());
  authors.resize(std::min(authors.size(), kMaxAuthors));
  json.key("authors").begin_array();
  for (const std::string_view author : authors) json.value(author);
  json.end_array();
}

/// Writes the newest `limit` lines, and where to go on behind them.
void AddLines(JsonWriter& json, std::vector<Walk>& walks, const Wanted& wanted,
              std::uint64_t limit) {
  json.key("changes").begin_array();
  Walk* newest = nullptr;
  for (std::uint64_t i = 0;; ++i) {
    newest = nullptr;
    for (Walk& walk : walks) {
      walk.skip(wanted);
      if (walk.left == 0) continue;
      if (newest == nullptr || walk.line().stamp > newest->line().stamp) newest = &walk;
    }
    if (newest == nullptr || i == limit) break;
    AddLine(json, *newest);
    --newest->left;
  }
  json.end_array();
  std::string places;
  for (const Walk& walk : walks) {
    places += (places.empty() ? "" : ".") + walk.store + ":" + std::to_string(walk.left);
  }
  json.field("more", newest != nullptr).field("before", places);
}

}  // namespace

Answer AnswerTimeline(RouteContext& route, const Params& params) {
  const auto stores = StoresOf(route, params);
  if (!stores) return std::unexpected(stores.error());
  const auto limit = params.number("limit", kDefaultRows, kMaxRows);
  if (!limit) return std::unexpected(limit.error());
  const auto since = ParseSince(params.text("since"));
  if (!since) return std::unexpected(since.error());
  const Wanted wanted{*since, params.text("author"), params.text("path")};
  const std::string before = params.text("before");
  const Places places = ParsePlaces(before);
  JsonWriter json = BeginAnswer();
  const Status read = route.parts.activity.books().with(*stores, [&](auto books) {
    std::vector<Walk> walks;
    for (std::size_t i = 0; i < books.size(); ++i) {
      Walk walk{books[i], StoreId(*(*stores)[i]), books[i]->lines().size()};
      if (const auto place = places.find(walk.store); place != places.end()) {
        walk.left = std::min<std::uint64_t>(walk.left, place->second);
      }
      walks.push_back(std::move(walk));
    }
    AddLines(json, walks, wanted, *limit);
    if (before.empty()) AddAuthors(json, books);
  });
  if (!read) return std::unexpected(read.error());
  return EndAnswer(json);
}

}  // namespace mrb::workstation
