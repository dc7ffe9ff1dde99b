// export, import and clone: the verbs that carry whole contexts from one place to another.

#include <cstring>
#include <optional>

#include "common/answer.h"
#include "memory/context/store_loader.h"
#include "memory/record/context_id.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/verb_table.h"
#include "platform/paths.h"

namespace mrb::memory {

namespace {

constexpr std::string_view kImportUsage = "memory.import <botid>, <context>, <src-file>";
constexpr std::string_view kExportUsage = "memory.export <botid>, <context>, <dest-file-or-dir>";
constexpr std::uint64_t kProgressMemos = 100'000;  // fewer are done before anybody wonders

std::string Number(std::uint64_t value) {
  return std::to_string(value);
}

void Tell(const VerbCall& call, std::uint64_t memos, std::string_view what) {
  if (memos >= kProgressMemos) call.progress(Number(memos) + " memos " + std::string(what));
}

std::uint64_t CountTopics(const RecordHeap& heap, std::span<const MemoRow> rows) {
  TopicTable topics(heap);
  for (const MemoRow& row : rows) {
    if (const auto record = ReadRecord(heap.bytes(), row.offset)) topics.intern(record->topic);
  }
  return topics.size();
}

/// All records of a loaded store file as one batch, which borrows the store's heap.
Result<RecordBatch> WholeBatch(LoadedStore& source) {
  RecordHeap& heap = source.heap;
  if (source.vector_missing) {
    constexpr std::uint64_t kDimensionBytes = sizeof(std::uint32_t);
    if (const Status room = heap.reserve(heap.used() + kDimensionBytes); !room) {
      return std::unexpected(room.error());
    }
    std::memset(heap.data() + heap.used(), 0, kDimensionBytes);
    heap.set_used(heap.used() + kDimensionBytes);
  }
  RecordBatch batch;
  batch.borrow(heap.bytes(), source.rows.size());
  return batch;
}

/// The source's records, topic after topic.
RecordBatch CloneBatch(const ContextStore& source) {
  const ContextIndex& index = source.index();
  const std::string_view heap = source.heap().bytes();
  RecordBatch batch;
  batch.reserve(heap.size());
  for (std::uint32_t topic = 0; topic < index.topics().size(); ++topic) {
    for (const std::uint32_t row : index.topics().rows(topic)) {
      const std::uint64_t start = index.memos()[row].offset;
      const bool last = row + 1 == index.memos().size();
      const std::uint64_t end = last ? heap.size() : index.memos()[row + 1].offset;
      batch.add_whole(heap.substr(start, end - start));
    }
  }
  return batch;
}

std::string ImportInto(const VerbCall& call, std::string_view context, const std::string& path,
                       LoadedStore& source) {
  const std::uint64_t memos = source.rows.size();
  const std::uint64_t topics = CountTopics(source.heap, source.rows.span());
  const auto batch = WholeBatch(source);
  if (!batch) return ErrorAnswer(batch.error().text);
  auto access = call.contexts.write(context);
  if (!access) return ErrorAnswer(access.error().text);
  const std::uint64_t before = access->store->index().topics().size();
  Tell(call, memos, "read; writing and indexing them");
  if (memos > 0) {
    if (const auto added = access->store->exchange({}, *batch, false); !added) {
      return ErrorAnswer("import of " + path + " into context '" + std::string(context) +
                         "' failed (disk rewrite refused): " + added.error().text);
    }
  }
  const std::uint64_t new_topics = access->store->index().topics().size() - before;
  std::string answer = OkAnswer("imported " + Number(memos) + " memo(s) across " + Number(topics) +
                                " topic(s) (" + Number(new_topics) + " new) from " + path);
  if (source.dropped > 0) {
    answer += "  [" + Number(source.dropped) + " byte(s) behind its last whole record left out]";
  }
  return answer;
}

std::string RunExport(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3 || fields[2].empty()) return UsageError(call);
  const std::string context(fields[1]);
  const auto access = call.contexts.read(context);
  if (!access) return ErrorAnswer(access.error().text);
  const auto full = call.full_path(fields[2]);
  if (!full) return ErrorAnswer(full.error().text);
  std::string to = *full;
  const auto there = call.options.files->status(to);
  if (there && there->type == platform::FileStatus::Type::kDirectory) {
    to = platform::JoinPath(to, context + ".mrb4");
  }
  const auto bytes =
      access->store->bytes_on_disk() == 0 ? Result<std::uint64_t>(0) : access->store->export_to(to);
  if (!bytes) return ErrorAnswer("could not write " + to + "  [" + bytes.error().text + "]");
  if (*bytes == 0) return ErrorAnswer("context '" + context + "' has nothing on disk yet");
  return OkAnswer("context '" + context + "' exported -> " + to + " (" + Number(*bytes) +
                  " bytes, " + Number(access->store->index().topics().size()) +
                  " topic(s); memory.import merges it anywhere)");
}

std::string RunImport(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3 || fields[2].empty()) return UsageError(call);
  if (const Status good = CheckContextId(fields[1]); !good) return ErrorAnswer(good.error().text);
  const auto full = call.full_path(fields[2]);
  if (!full) return ErrorAnswer(full.error().text);
  const std::string& path = *full;
  const auto there = call.options.files->status(path);
  if (!there || there->type == platform::FileStatus::Type::kDirectory) {
    return ErrorAnswer("no such file: " + path);
  }
  auto source = LoadStoreFile(*call.options.files, path);
  if (!source) return ErrorAnswer("could not read " + path + "  [" + source.error().text + "]");
  if (source->kind == LoadedStore::Kind::kForeign) {
    return ErrorAnswer("not a memory store (MRB4, MRB3 or MRB2): " + path);
  }
  return ImportInto(call, fields[1], path, *source);
}

std::string RunClone(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3 || ContextRegistry::compare(fields[1], fields[2]) == 0) {
    return UsageError(call);
  }
  const std::string from(fields[1]);
  const std::string to(fields[2]);
  for (const std::string& id : {from, to}) {
    if (const Status good = CheckContextId(id); !good) return ErrorAnswer(good.error().text);
  }
  if (!call.contexts.exists(from)) return ErrorAnswer("no context '" + from + "'");
  std::optional<Result<ReadAccess>> source;
  if (ContextRegistry::compare(from, to) < 0) source.emplace(call.contexts.read(from));
  auto target = call.contexts.write(to);
  if (!target) return ErrorAnswer(target.error().text);
  if (!source) source.emplace(call.contexts.read(from));
  if (!*source) return ErrorAnswer(source->error().text);
  const ContextStore& original = *(*source)->store;
  if (const std::uint64_t topics = target->store->index().topics().size(); topics > 0) {
    return ErrorAnswer("'" + to + "' is not empty (" + Number(topics) +
                       " topics) — clone wants a fresh context");
  }
  Tell(call, original.index().memos().size(), "to copy");
  const RecordBatch batch = CloneBatch(original);
  Tell(call, batch.count(), "copied; writing and indexing them");
  if (batch.count() > 0) {
    if (const auto added = target->store->exchange({}, batch, false); !added) {
      return ErrorAnswer("clone of '" + from + "' into '" + to +
                         "' failed (disk rewrite refused): " + added.error().text);
    }
  }
  return OkAnswer("cloned '" + from + "' -> '" + to + "' — " +
                  Number(original.index().topics().size()) + " topic(s)");
}

constexpr VerbRow kRows[] = {
    {.verb = "export",
     .usage = kExportUsage,
     .usage_error = kExportUsage,
     .summary = "Copy a context's whole store (self-contained MRB4 data.mrb4: every memo, keyword, "
                "type, timestamp, inline vector) to a file.",
     .run = RunExport},
    {.verb = "import",
     .usage = kImportUsage,
     .usage_error = kImportUsage,
     .summary =
         "Merge a store file (MRB4 data.mrb4, or a legacy MRB2/MRB3 data.mem) INTO a context: "
         "every memo appended in source order with its topic, keywords, type(s), write time and "
         "inline vector. Nothing already there is replaced.",
     .run = RunImport},
    {.verb = "clone",
     .usage = "memory.clone <botid>, <context>, <dst-context>",
     .usage_error = "memory.clone <botid>, <context>, <dst-context>  (dst must differ)",
     .summary = "Exact twin of a context into an EMPTY one: every topic, every memo, same types, "
                "append order kept.",
     .run = RunClone},
};

}  // namespace

std::span<const VerbRow> CopyVerbs() {
  return kRows;
}

}  // namespace mrb::memory
