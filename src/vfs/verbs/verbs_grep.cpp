// grep: the lines of versioned files that fit a pattern, by all cores, from memory.

#include "vfs/verbs/verbs_grep.h"

#include <atomic>

#include "common/answer.h"
#include "common/parallel.h"
#include "vfs/grep/grep_options.h"
#include "vfs/grep/grep_printer.h"
#include "vfs/grep/path_filter.h"
#include "vfs/store/older_versions.h"
#include "vfs/store/store_snapshot.h"

namespace mrb::vfs {
namespace {

constexpr std::size_t kFilesPerTurn = 16;

/// What a peer can be sent, and what nobody reads to its end.
constexpr std::uint64_t kMaxAnswerBytes = std::uint64_t{256} << 20U;

/// What was found in the files of one turn, in their order.
struct TurnResult {
  std::string lines;
  std::vector<std::string> paths;  // that something is shown of, each once
  std::uint64_t searched = 0;
};

/// The search of one store.
class StoreGrep {
 public:
  StoreGrep(const VerbCall& call, const search::Matcher& matcher, const GrepOptions& options,
            std::shared_ptr<VersionStore> store)
      : matcher_(matcher),
        options_(options),
        snapshot_(TakeSnapshot(std::move(store),
                               of_versions() ? SnapshotOf::kEveryVersion : SnapshotOf::kNewest)),
        filter_(snapshot_, {options.paths, options.include, options.exclude},
                call.caller.folder.path),
        labels_(call, *snapshot_.store),
        older_(*snapshot_.store) {}

  /// The results of all turns, in order; `room` is what the answer may still take.
  std::vector<TurnResult> run(std::uint64_t room) {
    const std::size_t count = snapshot_.files.size();
    std::vector<TurnResult> results((count + kFilesPerTurn - 1) / kFilesPerTurn);
    std::atomic<std::uint64_t> taken = 0;
    ParallelFor(count, kFilesPerTurn, [&] {
      return [&, printer = GrepPrinter(matcher_, options_), label = std::string()](
                 std::size_t begin, std::size_t end) mutable {
        if (taken > room) return;
        TurnResult& result = results[begin / kFilesPerTurn];
        for (std::size_t i = begin; i < end; ++i) file(snapshot_.files[i], printer, label, result);
        taken += result.lines.size();
      };
    });
    return results;
  }

 private:
  [[nodiscard]] bool of_versions() const { return options_.all_versions || options_.version; }

  [[nodiscard]] bool wants(const SnapshotFile& file) const {
    return !file.is_deleted && (!options_.version || *options_.version == file.version);
  }

  /// Drops the contents when it has searched them, where they may be in the cache.
  void file(SnapshotFile& file, GrepPrinter& printer, std::string& label, TurnResult& result) {
    const Blob bytes = std::move(file.bytes);
    const bool wants_older =
        file.has_older &&
        (options_.all_versions || (options_.version && *options_.version < file.version));
    if ((!wants(file) && !wants_older) || !filter_.admits(file.path)) return;
    if (wants_older) older_files(file, printer, label, result);
    if (wants(file)) one(file, bytes, printer, label, result);
  }

  void older_files(const SnapshotFile& first, GrepPrinter& printer, std::string& label,
                   TurnResult& result) {
    const auto older = older_.of(std::string(first.path), first.version);
    if (!older) {
      labels_.append(result.lines, first.path);
      result.lines += ": older versions cannot be read: " + older.error().text + "\n";
      return;
    }
    for (const VersionRecord& record : *older) {
      SnapshotFile file;
      file.path = first.path;
      file.version = record.version;
      file.is_deleted = record.tombstone;
      if (wants(file)) one(file, record.bytes, printer, label, result);
    }
  }

  void one(const SnapshotFile& file, const Blob& bytes, GrepPrinter& printer, std::string& label,
           TurnResult& result) {
    label.clear();
    labels_.append(label, file.path);
    const std::size_t path_size = label.size();
    if (of_versions()) label.append("@v").append(std::to_string(file.version));
    ++result.searched;
    if (!printer.run(label, bytes.bytes(), result.lines)) return;
    label.resize(path_size);
    if (result.paths.empty() || result.paths.back() != label) result.paths.push_back(label);
  }

  const search::Matcher& matcher_;
  const GrepOptions& options_;
  StoreSnapshot snapshot_;
  PathFilter filter_;
  FileLabels labels_;
  OlderVersions older_;
};

std::string NothingFound(const GrepOptions& options, std::uint64_t searched) {
  if (options.show == GrepShow::kPathsWithout && searched > 0) {
    return OkAnswer("all " + std::to_string(searched) + " file(s) hold a match");
  }
  if (searched > 0 || options.paths.empty()) {
    return OkAnswer("no match in " + std::to_string(searched) +
                    (options.all_versions ? " version(s)" : " file(s)"));
  }
  std::string words;
  for (const std::string& path : options.paths) words += " '" + path + "'";
  return ErrorAnswer("no versioned file fits" + words);
}

}  // namespace

std::string RunGrep(const VerbCall& call) {
  const auto options = ParseGrep(call.arguments, GrepCommand::kSearch);
  if (!options) return ErrorAnswer(options.error().text);
  const auto matcher = search::Matcher::make(options->pattern, options->engine);
  if (!matcher) return ErrorAnswer(matcher.error().text);
  const auto stores = SearchedStores(call, options->store);
  if (!stores) return ErrorAnswer(stores.error().text);
  std::string answer;
  std::vector<std::string> paths;
  std::uint64_t searched = 0;
  for (const auto& store : *stores) {
    StoreGrep grep(call, *matcher, *options, store);
    std::vector<TurnResult> results = grep.run(kMaxAnswerBytes - answer.size());
    std::size_t size = answer.size();
    for (const TurnResult& result : results) size += result.lines.size();
    answer.reserve(size);
    for (TurnResult& result : results) {
      answer += result.lines;
      searched += result.searched;
      for (std::string& path : result.paths) {
        if (paths.size() < CommandRegister::kMaxEntries) paths.push_back(std::move(path));
      }
      result = {};
    }
    if (answer.size() < kMaxAnswerBytes) continue;
    answer +=
        "(the rest is left out: more than " + std::to_string(kMaxAnswerBytes >> 20U) + " MB)\n";
    break;
  }
  if (call.caller.registers) call.caller.registers->fill(std::move(paths));
  return answer.empty() ? NothingFound(*options, searched) : answer;
}

}  // namespace mrb::vfs
