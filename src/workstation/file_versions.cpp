// files/versions and files/bytes: one file's history.

#include <map>

#include "common/text.h"
#include "workstation/route_context.h"

namespace mrb::workstation {
namespace {

using vfs::ChangeKind;

constexpr std::uint64_t kDefaultBytes = std::uint64_t{256} << 10U;
constexpr std::uint64_t kMaxBytes = std::uint64_t{1} << 20U;  // a page draws all that it gets

struct Version {
  std::string author;
  std::uint64_t stamp = 0;
  std::uint64_t size = 0;
  bool deleted = false;
};
using Versions = std::map<std::uint32_t, Version>;

/// What a line of the change log did to the list of versions.
void Apply(Versions& versions, const ChangeLogTable& book, const ChangeLogTable::Line& line) {
  switch (line.kind) {
    case ChangeKind::kMirrorFail:
      versions.erase(line.version);
      return;
    case ChangeKind::kRestore:  // takes a tombstone back, or is a version of its own
      versions.erase(versions.upper_bound(line.version), versions.end());
      if (versions.contains(line.version)) return;
      break;
    case ChangeKind::kReconcileStrandedLock:
      return;
    default:
      break;
  }
  versions[line.version] = {std::string(book.name(line.author)), line.stamp, line.size,
                            line.kind == ChangeKind::kDelete};
}

Versions FromBook(const ChangeLogTable& book, const std::string& path) {
  std::vector<std::uint32_t> lines;
  for (std::uint32_t at = book.newest_of(path); at != ChangeLogTable::kNone;) {
    lines.push_back(at);
    at = book.lines()[at].before;
  }
  Versions versions;
  for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
    Apply(versions, book, book.lines()[*line]);
  }
  return versions;
}

/// What is in memory is right; the log knows those before.
void Overlay(Versions& versions, const File& file) {
  versions.erase(versions.lower_bound(file.history.front().version), versions.end());
  for (const VersionRecord& record : file.history) {
    versions[record.version] = {std::string(record.author.text()), PackStamp(record.stamp),
                                record.bytes.bytes().size(), record.tombstone};
  }
}

}  // namespace

Answer AnswerVersions(RouteContext& route, const Params& params) {
  const auto page = params.page();
  if (!page) return std::unexpected(page.error());
  const auto held = FileOf(route, params);
  if (!held) return std::unexpected(held.error());
  Versions versions;
  const Status read = route.parts.activity.books().with(
      std::span(&held->store, 1),
      [&](auto books) { versions = FromBook(*books.front(), held->file->name); });
  if (!read) return std::unexpected(read.error());
  Overlay(versions, *held->file);
  JsonWriter json = BeginAnswer();
  json.name_field("path", held->file->name).field("deleted", held->file->is_gone());
  json.field("lock", held->store->locks().holder(held->file->name));
  json.field("total", versions.size()).key("versions").begin_array();
  std::uint64_t place = 0;
  for (auto at = versions.rbegin(); at != versions.rend(); ++at, ++place) {
    if (place < page->offset) continue;
    if (place >= page->offset + page->limit) break;
    const Version& version = at->second;
    json.begin_object().field("version", at->first).field("author", version.author);
    json.field("stamp", StampText(UnpackStamp(version.stamp))).field("size", version.size);
    json.field("deleted", version.deleted).end_object();
  }
  json.end_array();
  return EndAnswer(json);
}

Answer AnswerBytes(RouteContext& route, const Params& params) {
  const auto wanted = params.number("version", 0, UINT32_MAX);
  if (!wanted) return std::unexpected(wanted.error());
  const auto offset = params.number("offset", 0, UINT64_MAX);
  if (!offset) return std::unexpected(offset.error());
  const auto limit = params.number("limit", kDefaultBytes, kMaxBytes);
  if (!limit) return std::unexpected(limit.error());
  auto held = FileOf(route, params);
  if (!held) return std::unexpected(held.error());
  const VersionRecord* newest = held->file->newest_content();
  const auto version =
      *wanted == 0 && newest != nullptr ? newest->version : static_cast<std::uint32_t>(*wanted);
  const auto blob = held->store->version_bytes(*held->file, version);
  held->lock.unlock();
  if (!blob) return std::unexpected(blob.error());
  const std::string_view bytes = blob->bytes();
  const bool binary = bytes.find('\0') != std::string_view::npos;
  JsonWriter json = BeginAnswer();
  json.field("version", version).field("size", bytes.size()).field("binary", binary);
  const std::string_view rest = bytes.substr(std::min<std::uint64_t>(*offset, bytes.size()));
  const std::string_view piece = binary ? std::string_view() : CutUtf8(rest, *limit);
  json.field("next", *offset + piece.size()).field("more", piece.size() < rest.size());
  json.field("text", piece);
  return EndAnswer(json);
}

}  // namespace mrb::workstation
