// files/diff: two versions of a file, line by line.

#include <new>

#include "common/text.h"
#include "vfs/diff/text_lines.h"
#include "vfs/diff/text_script.h"
#include "vfs/model/node_diff.h"
#include "workstation/route_context.h"

namespace mrb::workstation {
namespace {

// What a page can draw and a person can follow. Past these the rest is counted, not sent.
constexpr std::uint64_t kMaxLines = 20'000;
constexpr std::uint64_t kMaxText = std::uint64_t{4} << 20U;
constexpr std::size_t kMaxLine = 4000;
constexpr std::uint64_t kDefaultContext = 3;

struct Side {
  std::uint32_t version = 0;  ///< 0: nothing at all
  vfs::Blob bytes;
};

/// The bytes of the version that a parameter names; none for 0 and for a delete.
Result<Side> SideOf(const HeldFile& held, const Params& params, std::string_view name) {
  const auto wanted = params.number(name, 0, UINT32_MAX);
  if (!wanted) return std::unexpected(wanted.error());
  Side side{static_cast<std::uint32_t>(*wanted), {}};
  const VersionRecord* record = held.file->find_version(side.version);
  if (side.version == 0 || (record != nullptr && record->tombstone)) return side;
  auto bytes = held.store->version_bytes(*held.file, side.version);
  if (!bytes) return std::unexpected(bytes.error());
  side.bytes = *std::move(bytes);
  return side;
}

bool IsBinary(const Side& side) {
  return side.bytes.bytes().find('\0') != std::string_view::npos;
}

/// Writes runs of lines: {"change","line1","line2","count","lines"}. A run of equal lines far from
/// any change has no lines.
class RunWriter {
 public:
  RunWriter(JsonWriter& json, std::uint64_t context) : json_(json), context_(context) {}

  void write(const std::vector<diff::TextRun>& runs) {
    for (std::size_t i = 0; i < runs.size(); ++i) {
      const diff::TextRun& run = runs[i];
      if (run.change == diff::LineChange::kSame) {
        write_same(run, i > 0 ? context_ : 0, i + 1 < runs.size() ? context_ : 0);
      } else {
        add(run, 0, run.count, true);
      }
    }
  }

  [[nodiscard]] bool cut() const { return cut_; }
  [[nodiscard]] std::uint64_t added() const { return added_; }
  [[nodiscard]] std::uint64_t removed() const { return removed_; }

 private:
  void write_same(const diff::TextRun& run, std::uint64_t behind, std::uint64_t ahead) {
    if (run.count <= behind + ahead) return add(run, 0, run.count, true);
    if (behind > 0) add(run, 0, behind, true);
    add(run, behind, run.count - behind - ahead, false);
    if (ahead > 0) add(run, run.count - ahead, ahead, true);
  }

  /// `count` lines of a run from its line `from` on.
  void add(const diff::TextRun& run, std::uint64_t from, std::uint64_t count, bool with_lines) {
    using diff::LineChange;
    const bool same = run.change == LineChange::kSame;
    const bool is_new = run.change == LineChange::kAdded;
    if (!same) (is_new ? added_ : removed_) += count;
    json_.begin_object().field("change", same ? "same" : is_new ? "added" : "removed");
    json_.field("line1", run.line1 + (is_new ? 0 : from));
    json_.field("line2", run.line2 + (same || is_new ? from : 0)).field("count", count);
    if (with_lines) add_lines(run.text, from, count);
    json_.end_object();
  }

  void add_lines(std::string_view text, std::uint64_t from, std::uint64_t count) {
    json_.key("lines").begin_array();
    std::uint64_t at = 0;
    diff::ForEachLine(text, [&](std::string_view line) {
      const std::uint64_t number = at++;
      if (number < from || number >= from + count) return;
      if (lines_ >= kMaxLines || json_.size() >= kMaxText) {
        cut_ = true;
        return;
      }
      ++lines_;
      const bool is_long = line.size() > kMaxLine;
      cut_ = cut_ || is_long;
      json_.value(is_long ? std::string(CutUtf8(line, kMaxLine)) + "…" : std::string(line));
    });
    json_.end_array();
  }

  JsonWriter& json_;
  const std::uint64_t context_;
  std::uint64_t lines_ = 0;
  std::uint64_t added_ = 0;
  std::uint64_t removed_ = 0;
  bool cut_ = false;
};

void AddSide(JsonWriter& json, std::string_view name, const Side& side) {
  json.key(name).begin_object().field("version", side.version);
  json.field("size", side.bytes.bytes().size()).end_object();
}

}  // namespace

Answer AnswerDiff(RouteContext& route, const Params& params) {
  const auto context = params.number("context", kDefaultContext, kMaxLines);
  if (!context) return std::unexpected(context.error());
  auto held = FileOf(route, params);
  if (!held) return std::unexpected(held.error());
  const auto a = SideOf(*held, params, "a");
  if (!a) return std::unexpected(a.error());
  const auto b = SideOf(*held, params, "b");
  if (!b) return std::unexpected(b.error());
  held->lock.unlock();  // the bytes stay
  const bool binary = IsBinary(*a) || IsBinary(*b);
  JsonWriter json = BeginAnswer();
  AddSide(json, "a", *a);
  AddSide(json, "b", *b);
  json.field("binary", binary).field("same", a->bytes.equals(b->bytes));
  json.key("runs").begin_array();
  RunWriter writer(json, *context);
  try {
    const auto memory = vfs::WithinMemory(&platform::ReadSystemMemory);
    if (!binary) writer.write(diff::CompareTexts(a->bytes.bytes(), b->bytes.bytes(), memory));
  } catch (const std::bad_alloc&) {
    return Fail(ErrorKind::kUnavailable, "not enough free memory to compare these versions now");
  }
  json.end_array().field("cut", writer.cut());
  json.field("added", writer.added()).field("removed", writer.removed());
  return EndAnswer(json);
}

}  // namespace mrb::workstation
