#include "vfs/mirror/journal.h"

#include <algorithm>
#include <array>
#include <optional>

#include "common/json_scan.h"
#include "common/json_writer.h"
#include "common/literal_search.h"
#include "common/text.h"
#include "platform/paths.h"

namespace mrb::vfs {
namespace {

// Nobody saves a file more often; a larger number is damage, and counting on from it would
// overflow.
constexpr std::int64_t kMaxVersion = 0x7fffffff;

struct KindName {
  ChangeKind kind;
  std::string_view name;
};

constexpr std::array kKindNames{
    KindName{ChangeKind::kCreate, "create"},
    KindName{ChangeKind::kModify, "modify"},
    KindName{ChangeKind::kDelete, "delete"},
    KindName{ChangeKind::kRestore, "restore"},
    KindName{ChangeKind::kMove, "move"},
    KindName{ChangeKind::kMirrorFail, "mirror-fail"},
    KindName{ChangeKind::kReconcileStrandedLock, "reconcile-stranded-lock"},
};

std::optional<std::uint32_t> VersionField(const JsonValue& object, std::string_view key) {
  const JsonValue value = object.find(key);
  if (!value.exists()) return 0;
  const auto number = value.integer();
  if (!number || *number < 0 || *number > kMaxVersion) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

std::string HexOf(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string hex;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    hex.push_back(kDigits[byte >> 4U]);
    hex.push_back(kDigits[byte & 15U]);
  }
  return hex;
}

std::optional<std::string> FromHex(std::string_view hex) {
  std::string bytes;
  if (hex.size() % 2 != 0) return std::nullopt;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    const int high = HexDigit(hex[i]);
    const int low = HexDigit(hex[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes.push_back(static_cast<char>(high * 16 + low));
  }
  return bytes;
}

std::optional<std::string> PathField(const JsonValue& object) {
  if (const JsonValue encoded = object.find("path_hex"); encoded.exists()) {
    return FromHex(encoded.text());
  }
  return object.find("path").text();
}

std::optional<Change> ChangeOf(const JsonValue& object) {
  const auto kind = std::ranges::find(kKindNames, object.find("kind").text(), &KindName::name);
  const auto version = VersionField(object, "version");
  const auto archived = VersionField(object, "archived");
  const auto holds = VersionField(object, "holds");
  const auto tombstone_version = VersionField(object, "buried");
  const auto same_as = VersionField(object, "same_as");
  const auto size = object.find("size").integer();
  auto path = PathField(object);
  if (kind == kKindNames.end() || !version || *version == 0 || !archived || !holds)
    return std::nullopt;
  if (!tombstone_version || !same_as) return std::nullopt;
  if (!size || *size < 0 || !path || path->empty()) return std::nullopt;
  return Change{.version = *version,
                .author = object.find("author").text(),
                .stamp = ParseStamp(object.find("stamp").text()),
                .kind = kind->kind,
                .path = *std::move(path),
                .size = static_cast<std::uint64_t>(*size),
                .archived = *archived,
                .holds = *holds,
                .tombstone_version = *tombstone_version,
                .same_as = *same_as,
                .carried = object.find("carried").boolean().value_or(false)};
}

// JSON text is UTF-8; the name of a file need not be.
void AddPath(JsonWriter& json, std::string_view path) {
  if (IsUtf8(path)) {
    json.field("path", path);
  } else {
    json.field("path_hex", HexOf(path));
  }
}

}  // namespace

std::string_view ChangeKindName(ChangeKind kind) {
  return std::ranges::find(kKindNames, kind, &KindName::kind)->name;
}

std::string ChangeLine(const Change& change) {
  constexpr std::size_t kTypicalLine = 192;
  JsonWriter json(kTypicalLine);
  json.begin_object().field("version", change.version).field("author", change.author);
  json.field("stamp", StampText(change.stamp)).field("kind", ChangeKindName(change.kind));
  AddPath(json, change.path);
  json.field("size", change.size);
  if (change.archived != 0) json.field("archived", change.archived).field("holds", change.holds);
  if (change.tombstone_version != 0) json.field("buried", change.tombstone_version);
  if (change.same_as != 0) json.field("same_as", change.same_as);
  if (change.carried) json.field("carried", true);
  return json.end_object().take() + "\n";
}

Result<Change> ParseChange(std::string_view line) {
  const auto document = JsonDocument::scan(line);
  if (!document) return std::unexpected(document.error());
  auto change = ChangeOf(document->root());
  if (!change) return Fail(ErrorKind::kCorrupt, "not a change: " + std::string(line));
  return *std::move(change);
}

Status Journal::open() {
  if (file_) return {};
  const auto mode = platform::FileSystem::OpenMode::kAppendNew;
  auto file = files_.open(path_, mode);
  if (!file && file.error().kind == ErrorKind::kNotFound) {
    if (Status made = platform::MakeDirectories(files_, platform::ParentPath(path_)); !made) {
      return made;
    }
    file = files_.open(path_, mode);
  }
  if (!file) return std::unexpected(file.error());
  const auto size = (*file)->size();
  if (!size) return std::unexpected(size.error());
  char last = '\n';
  if (*size > 0) {
    if (const auto read = (*file)->read_at(*size - 1, &last, 1); !read) {
      return std::unexpected(read.error());
    }
  }
  file_ = *std::move(file);
  size_ = *size;
  torn_ = last != '\n';
  return {};
}

Status Journal::append(std::string_view lines) {
  if (Status opened = open(); !opened) return opened;
  const std::string bytes = torn_ ? "\n" + std::string(lines) : std::string(lines);
  if (Status written = file_->append(bytes); !written) {
    if (!file_->truncate(size_)) torn_ = true;
    return written;
  }
  size_ += bytes.size();
  torn_ = false;
  return {};
}

Status Journal::sync() {
  return file_ ? file_->sync() : Status();
}

Result<std::string> Journal::text() const {
  auto text = platform::ReadFile(files_, path_);
  if (!text && text.error().kind == ErrorKind::kNotFound) return std::string();
  return text;
}

Result<std::size_t> Journal::read(const std::function<void(Change)>& found) const {
  const auto lines = text();
  if (!lines) return std::unexpected(lines.error());
  std::size_t damaged = 0;
  std::string_view rest = *lines;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (Trim(line).empty()) continue;
    if (auto change = ParseChange(line)) {
      found(*std::move(change));
    } else {
      ++damaged;
    }
  }
  return damaged;
}

Status Journal::read_of(std::string_view path, bool any_case,
                        const std::function<void(Change)>& found) const {
  const auto lines = text();
  if (!lines) return std::unexpected(lines.error());
  const std::string_view all = *lines;
  JsonWriter wanted;
  AddPath(wanted.begin_object(), path);
  const std::string field = wanted.take().substr(1);  // without the brace
  const LiteralSearch search(field, any_case);
  for (std::size_t at = search.find(all); at != std::string_view::npos; at = search.find(all, at)) {
    const std::size_t begin = all.rfind('\n', at) + 1;  // 0 in the first line
    const std::size_t end = std::min(all.find('\n', at), all.size());
    at = end;
    auto change = ParseChange(all.substr(begin, end - begin));
    const bool fits =
        change && (any_case ? EqualsIgnoreCase(change->path, path) : change->path == path);
    if (fits) found(*std::move(change));
  }
  return {};
}

}  // namespace mrb::vfs
