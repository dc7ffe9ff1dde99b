// cachekeys and cachekey: a model type's worklist, and the keys it hands back.

#include <algorithm>
#include <optional>

#include "common/answer.h"
#include "common/text.h"
#include "memory/record/context_id.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_lines.h"
#include "memory/verbs/memo_text.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

constexpr std::uint64_t kDefaultPage = 20;
constexpr std::uint64_t kMaxPage = 10'000;     // memos that one pass may take
constexpr std::size_t kMaxTable = 200;         // labels that a reader still looks through
constexpr std::size_t kMaxShownBytes = 4'000;  // of a memo: enough to tell what it is about

std::string Number(std::uint64_t value) {
  return std::to_string(value);
}

void AppendTable(std::string& out, const Overlay& overlay) {
  out += "\nYOUR TOPIC TABLE (label  memos):";
  const auto& labels = overlay.labels();
  for (std::size_t i = 0; i < std::min(labels.size(), kMaxTable); ++i) {
    out += "\n  " + labels[i].name + "  " + Number(labels[i].memos.size());
  }
  if (labels.size() > kMaxTable) out += "\n  ... (" + Number(labels.size() - kMaxTable) + " more)";
  if (labels.empty()) out += "\n  (no label yet)";
}

void AppendWork(std::string& out, const ContextIndex& index, std::span<const std::uint32_t> rows) {
  for (const std::uint32_t row : rows) {
    out += "\n  @" + Number(index.memos()[row].offset) + "  ";
    AppendMemoHead(out, index, row);
    const std::string_view content = index.record(row).content;
    const std::string_view shown = CutUtf8(content, kMaxShownBytes);
    out.append("  ").append(shown).append(shown.size() < content.size() ? "…" : "");
  }
}

/// The first part of the answer; registers the type when it is new.
std::expected<std::string, std::string> OpenType(ContextStore& store, const std::string& type,
                                                 const std::string& context) {
  const Overlay* overlay = store.overlays().find(type);
  const bool known = overlay != nullptr;
  if (!known) {
    Overlay fresh(EqualsIgnoreCase(type, kLocalModelType) ? std::string(kLocalModelType) : type);
    fresh.settle_mark(store.index().memos(), store.heap().used());
    if (const Status put = store.overlays().put(std::move(fresh)); !put) {
      return std::unexpected(
          ErrorAnswer("model type '" + type + "' could not be registered: " + put.error().text));
    }
    overlay = store.overlays().find(type);
  }
  return OkAnswer("model type '" + overlay->name() + "' " +
                  (known ? "loaded from" : "REGISTERED with") + " context '" + context + "' — " +
                  Number(overlay->labels().size()) + " topic label(s), " +
                  Number(overlay->keyed()) + " memo(s) keyed, mark @" + Number(overlay->mark()));
}

std::string PageAnswer(const ContextStore& store, const Overlay& overlay,
                       const std::string& context, std::uint64_t page, std::string answer) {
  const ContextIndex& index = store.index();
  AppendTable(answer, overlay);
  const auto rows = overlay.worklist(index.memos(), page);
  if (rows.empty()) return answer + "\nCURRENT — nothing to key.";
  const std::size_t behind = overlay.behind(index.memos());
  answer += "\nEMBED — page of " + Number(rows.size()) + " of " + Number(behind) +
            " unkeyed memo(s): read each memo, generate the topic label your weights recall it by "
            "(snap to a label above when one fits), then\n  memory.cachekey <botid>, " +
            context + ", @<off>=<label>; @<off>=<label>; ...";
  AppendWork(answer, index, rows);
  answer += rows.size() < behind
                ? "\nThen memory.cachekeys again for the next page; your recall unblocks when the "
                  "worklist is empty."
                : "\nKey these and your recall is current.";
  return answer;
}

/// One memo of a page for the local embedder, as it was when the page was taken.
struct Work {
  std::uint64_t offset = 0;
  std::string content;
  std::vector<float> vector;
};

/// Embeds a page; nobody waits for the context meanwhile. Once nobody answers at all the rest is
/// not tried.
std::size_t EmbedPage(const VerbCall& call, const std::string& model, std::vector<Work>& page) {
  std::size_t failed = 0;
  bool reachable = true;
  for (Work& work : page) {
    if (reachable) {
      auto vector = call.options.embedder(model, work.content);
      reachable = vector || vector.error().kind != ErrorKind::kUnavailable;
      work.vector = std::move(vector).value_or(std::vector<float>());
    }
    failed += work.vector.empty() ? 1 : 0;
  }
  return failed;
}

/// Keys the embedded memos that are still what they were.
Status KeyPage(ContextStore& store, const std::vector<Work>& page) {
  const ContextIndex& index = store.index();
  Overlay overlay = *store.overlays().find(kLocalModelType);
  for (const Work& work : page) {
    const auto row = index.memos().find(work.offset);
    if (!work.vector.empty() && row && index.record(*row).content == work.content) {
      overlay.set_vector(work.offset, work.vector);
    }
  }
  overlay.settle_mark(index.memos(), store.heap().used());
  return store.overlays().put(std::move(overlay));
}

std::string HeadlessPass(const VerbCall& call, const std::string& context, std::uint64_t size) {
  std::vector<Work> page;
  std::string model;
  std::string answer;
  {
    auto access = call.contexts.write(context);
    if (!access) return ErrorAnswer(access.error().text);
    ContextStore& store = *access->store;
    auto opened = OpenType(store, std::string(kLocalModelType), context);
    if (!opened) return opened.error();
    answer = std::move(*opened);
    model = store.overlays().settings().model;
    const ContextIndex& index = store.index();
    for (const std::uint32_t row :
         store.overlays().find(kLocalModelType)->worklist(index.memos(), size)) {
      page.push_back({index.memos()[row].offset, std::string(index.record(row).content), {}});
    }
  }
  const std::size_t failed = EmbedPage(call, model, page);
  auto access = call.contexts.write(context);
  if (!access) return ErrorAnswer(access.error().text);
  ContextStore& store = *access->store;
  if (store.overlays().find(kLocalModelType) == nullptr) {
    return ErrorAnswer("the local embedder was forgotten meanwhile — nothing was keyed");
  }
  if (failed < page.size()) {
    if (const Status keyed = KeyPage(store, page); !keyed) {
      return ErrorAnswer("the vector keys could not be written: " + keyed.error().text);
    }
  }
  const Overlay& overlay = *store.overlays().find(kLocalModelType);
  const std::size_t behind = overlay.behind(store.index().memos());
  answer +=
      "\nheadless pass: " + Number(page.size() - failed) + " memo(s) embedded by '" + model + "'";
  if (failed > 0) {
    answer += ", " + Number(failed) + " FAILED (embedder unreachable? ollama " + model +
              ") — still above the mark";
  }
  answer += ", mark @" + Number(overlay.mark());
  answer += behind == 0 ? ", CURRENT"
                        : ", " + Number(behind) +
                              " memo(s) still to embed (memory.cachekeys for the next page)";
  if (failed > 0) {
    answer +=
        "\nUNKEYED (embedder call failed — re-run memory.cachekeys once the local model answers):";
    std::vector<std::uint32_t> rows;
    for (const Work& work : page) {
      if (const auto row = store.index().memos().find(work.offset); row && work.vector.empty()) {
        rows.push_back(*row);
      }
    }
    AppendWork(answer, store.index(), rows);
  }
  return answer;
}

/// The memo that "@<off>" or "<topic>#<n>" names.
struct Address {
  std::optional<std::uint64_t> offset;
  const char* problem = nullptr;
};

Address AddressOf(const ContextStore& store, std::string_view text) {
  constexpr const char* kDead = "(dead offset or empty label)";
  constexpr const char* kNoMemo = "(not a memo: use @<off> from the worklist or <topic>#<n>)";
  if (text.starts_with('@')) {
    const auto offset = ParseDecimal(text.substr(1));
    if (!offset) {
      return {std::nullopt, kNoMemo};
    }
    const bool live = store.index().memos().find(*offset).has_value();
    return live ? Address{offset, nullptr} : Address{std::nullopt, kDead};
  }
  const std::size_t mark = text.rfind('#');
  const auto n =
      mark == std::string_view::npos ? std::nullopt : ParseDecimal(text.substr(mark + 1));
  const auto row = n ? store.find_memo(text.substr(0, mark), *n) : std::nullopt;
  return row ? Address{store.index().memos()[*row].offset, nullptr}
             : Address{std::nullopt, kNoMemo};
}

struct BatchResult {
  std::size_t keyed = 0;
  std::size_t moved = 0;
  std::string rejected;
};

BatchResult ApplyBatch(const ContextStore& store, Overlay& overlay, std::string_view batch) {
  BatchResult result;
  for (const std::string_view piece : Split(batch, ';')) {
    const std::string_view item = Trim(piece);
    if (item.empty()) continue;
    const auto reject = [&](const char* why) {
      result.rejected.append("\n  ").append(item).append("  ").append(why);
    };
    const std::size_t equals = item.find('=');
    if (equals == std::string_view::npos) {
      reject("(no '=')");
      continue;
    }
    const std::string_view label = Trim(item.substr(equals + 1));
    const Address address = AddressOf(store, Trim(item.substr(0, equals)));
    if (!address.offset || label.empty()) {
      reject(address.offset ? "(dead offset or empty label)" : address.problem);
      continue;
    }
    const auto keyed = overlay.set_key(*address.offset, overlay.intern(label));
    ++result.keyed;
    result.moved += keyed == Overlay::Keyed::kMoved ? 1 : 0;
  }
  return result;
}

std::string RunCacheKeys(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 4);
  const auto given = fields.size() < 4 || OptionalField(fields[3]).empty()
                         ? std::optional(kDefaultPage)
                         : ParseDecimal(fields[3]);
  if (fields.size() < 3 || !given || *given == 0) return UsageError(call);
  const std::uint64_t page = std::min(*given, kMaxPage);
  const std::string context(fields[1]);
  const std::string type(fields[2]);
  if (const Status good = CheckContextId(type); !good) {  // it is a file's name too
    return ErrorAnswer("bad model type '" + type + "': " + good.error().text);
  }
  if (EqualsIgnoreCase(type, kLocalModelType)) return HeadlessPass(call, context, page);
  auto access = call.contexts.write(context);
  if (!access) return ErrorAnswer(access.error().text);
  auto opened = OpenType(*access->store, type, context);
  if (!opened) return opened.error();
  return PageAnswer(*access->store, *access->store->overlays().find(type), context, page,
                    std::move(*opened));
}

std::string RunCacheKey(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 4);
  if (fields.size() < 4) return UsageError(call);
  const std::string context(fields[1]);
  const std::string type(fields[2]);
  if (EqualsIgnoreCase(type, kLocalModelType)) {
    return ErrorAnswer("model type '" + type +
                       "' is the local embedder — its keys are vectors it computes itself "
                       "(memory.cachekeys <botid>, " +
                       context + ", local)");
  }
  const auto not_registered = [&] {
    return ErrorAnswer("model type '" + type + "' is not registered with context '" + context +
                       "'  (memory.cachekeys registers it)");
  };
  {
    const auto access = call.contexts.read(context);
    if (!access) return ErrorAnswer(access.error().text);
    if (access->store->overlays().find(type) == nullptr) return not_registered();
  }
  auto access = call.contexts.write(context);
  if (!access) return ErrorAnswer(access.error().text);
  ContextStore& store = *access->store;
  const Overlay* known = store.overlays().find(type);
  if (known == nullptr) return not_registered();
  Overlay overlay = *known;
  const BatchResult result = ApplyBatch(store, overlay, fields[3]);
  overlay.settle_mark(store.index().memos(), store.heap().used());
  std::string answer =
      OkAnswer(Number(result.keyed) + " memo(s) keyed for model type '" + overlay.name() + "'");
  if (result.moved > 0) answer += " (" + Number(result.moved) + " moved between labels)";
  answer += "; " + Number(overlay.labels().size()) + " label(s) in its table, mark @" +
            Number(overlay.mark());
  if (!result.rejected.empty()) answer += "\nREJECTED:" + result.rejected;
  if (result.keyed > 0) {
    if (const Status put = store.overlays().put(std::move(overlay)); !put) {
      return ErrorAnswer("the keys could not be written, none was kept: " + put.error().text);
    }
  }
  return answer;
}

constexpr VerbRow kRows[] = {
    {.verb = "cachekeys",
     .aliases = "modelkeys",
     .usage = "memory.cachekeys <botid>, <context>, <modeltype>|local [, <page=20>]",
     .summary =
         "Load a model type's reverse cache: registers the type if new, returns its topic table "
         "(label + memo count) and a PAGE of its worklist — the memos above its high-water mark "
         "it has not keyed, with content. Every write appends, so the unkeyed memos are always "
         "the suffix above the mark: no pending flag, no scan.",
     .run = RunCacheKeys},
    {.verb = "cachekey",
     .aliases = "setcachekey",
     .usage = "memory.cachekey <botid>, <context>, <modeltype>, @<off>=<label>; @<off>=<label>; "
              "<topic>#<n>=<label>",
     .summary =
         "Store a BATCH of cache keys a model type generated: memo -> topic label. Address a "
         "memo by @<offset> (as the worklist prints it) or by <topic>#<n>. A first-seen label "
         "joins the model's topic table; a known label just gains the memo. The mark advances "
         "over the keyed prefix.",
     .run = RunCacheKey},
};

}  // namespace

std::span<const VerbRow> CacheKeyVerbs() {
  return kRows;
}

}  // namespace mrb::memory
