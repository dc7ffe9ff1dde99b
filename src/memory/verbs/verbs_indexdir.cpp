// indexdir: the files of one folder as memos.

#include <algorithm>
#include <vector>

#include "common/answer.h"
#include "memory/record/record_batch.h"
#include "memory/text/tokenizer.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/verb_table.h"
#include "platform/paths.h"

namespace mrb::memory {

namespace {

constexpr std::uint64_t kMaxTextBytes = 1U << 20U;  // a larger file is data rather than text
constexpr std::size_t kProgressFiles = 1000;

/// What a file's memo says: its text, or its path where it has none that anybody would search.
std::string MemoContent(const std::string& path, const std::string& bytes) {
  const bool text = !bytes.empty() && bytes.size() <= kMaxTextBytes && !bytes.contains('\0');
  return text ? bytes : path;
}

/// The files of a folder as they are now, each as its only version; those that cannot be read are
/// counted.
struct FolderFiles {
  std::vector<FileVersion> files;
  std::size_t unreadable = 0;
};

Result<FolderFiles> ReadFolder(const VerbCall& call, const std::string& folder) {
  auto entries = call.options.files->list(folder);
  if (!entries) return std::unexpected(entries.error());
  std::ranges::sort(*entries, {}, &platform::DirectoryEntry::name);
  FolderFiles out;
  for (const platform::DirectoryEntry& entry : *entries) {
    if (entry.type != platform::FileStatus::Type::kFile) continue;
    const std::string path = platform::JoinPath(folder, entry.name);
    const auto status = call.options.files->status(path);
    FileVersion file{.name = entry.name, .bytes = {}, .written = call.now()};
    if (status && status->size <= kMaxTextBytes) {
      auto bytes = platform::ReadFile(*call.options.files, path);
      out.unreadable += bytes ? 0 : 1;
      file.bytes = std::move(bytes).value_or("");
    }
    out.files.push_back(std::move(file));
    if (out.files.size() % kProgressFiles == 0) {
      call.progress(std::to_string(out.files.size()) + " files read");
    }
  }
  return out;
}

Result<RecordBatch> BatchOf(const std::string& folder, std::vector<FileVersion>& files) {
  RecordBatch batch;
  for (FileVersion& file : files) {
    const TokenList name = StripToTokens(file.name);
    std::vector<std::string> given;
    for (const std::string_view token : name.views()) {
      given.emplace_back(token);
    }
    const std::string content = MemoContent(platform::JoinPath(folder, file.name), file.bytes);
    const TokenList keywords = BuildKeywordList(given, content);
    const auto words = keywords.views();
    const Status added = batch.add({.props = 0,
                                    .written = file.written,
                                    .content = content,
                                    .topic = file.name,
                                    .keywords = words,
                                    .vector = {}});
    if (!added) return std::unexpected(added.error());
  }
  return batch;
}

/// The memos of all topics that are to be replaced.
std::vector<std::uint32_t> ReplacedRows(const ContextIndex& index,
                                        const std::vector<std::string>& topics) {
  std::vector<std::uint32_t> rows;
  for (const std::string& topic : topics) {
    const auto old = index.topic_rows(topic);
    rows.insert(rows.end(), old.begin(), old.end());
  }
  std::ranges::sort(rows);
  return rows;
}

std::string RunIndexDir(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3) return UsageError(call);
  const std::string context(fields[1]);
  const auto full = call.full_path(fields[2]);
  if (!full) return ErrorAnswer(full.error().text);
  const std::string& folder = *full;
  const auto status = call.options.files->status(folder);
  if (fields[2].empty() || !status || status->type != platform::FileStatus::Type::kDirectory) {
    return ErrorAnswer("no such directory: " + folder);
  }
  FolderFiles found;
  auto versions = call.options.file_versions ? call.options.file_versions(folder) : std::nullopt;
  if (versions) {
    found.files = std::move(*versions);
  } else if (auto read = ReadFolder(call, folder)) {
    found = std::move(*read);
  } else {
    return ErrorAnswer("could not read " + folder + "  [" + read.error().text + "]");
  }
  std::vector<std::string> topics;
  std::ranges::transform(found.files, std::back_inserter(topics), &FileVersion::name);
  std::ranges::sort(topics);
  topics.erase(std::ranges::unique(topics).begin(), topics.end());
  const auto batch = BatchOf(folder, found.files);
  if (!batch) return ErrorAnswer(batch.error().text);
  auto access = call.contexts.write(context);
  if (!access) return ErrorAnswer(access.error().text);
  if (batch->count() > 0) {
    const auto rows = ReplacedRows(access->store->index(), topics);
    if (const auto added = access->store->exchange(rows, *batch, false); !added) {
      return ErrorAnswer("indexdir of " + folder + " into context '" + context +
                         "' failed (disk rewrite refused): " + added.error().text);
    }
  }
  std::string answer = OkAnswer("indexed " + std::to_string(topics.size()) + " file(s) from " +
                                folder + " into context '" + context + "'");
  if (found.unreadable > 0) {
    answer += "  [" + std::to_string(found.unreadable) + " could not be read: kept by path alone]";
  }
  return answer;
}

constexpr VerbRow kRows[] = {
    {.verb = "indexdir",
     .usage = "memory.indexdir <botid>, <context>, <source_dir>",
     .summary =
         "Make a directory keyword-retrievable: each file becomes a memory (filename = topic, "
         "StripToTokens(filename) = keywords). The context is the directory.",
     .run = RunIndexDir},
};

}  // namespace

std::span<const VerbRow> IndexDirVerbs() {
  return kRows;
}

}  // namespace mrb::memory
