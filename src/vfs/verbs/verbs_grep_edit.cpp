// grep:edit: replaces what a pattern finds, one version a file.

#include <algorithm>

#include "common/answer.h"
#include "common/parallel.h"
#include "common/text.h"
#include "vfs/grep/grep_options.h"
#include "vfs/grep/path_filter.h"
#include "vfs/grep/text_edit.h"
#include "vfs/store/store_snapshot.h"
#include "vfs/verbs/verbs_grep.h"

namespace mrb::vfs {
namespace {

constexpr std::size_t kFilesPerTurn = 16;
constexpr std::uint64_t kMaxShownBytes = std::uint64_t{64} << 20U;

/// What becomes of one file, as the answer tells it.
struct FileEdit {
  std::string text;
  std::uint64_t count = 0;  ///< replacements
  bool skipped = false;
};

/// A file that holds what is looked for.
struct Candidate {
  std::string path;
  std::string label;
};

bool IsBinary(std::string_view text) {
  return text.contains('\0');
}

FileEdit Skipped(const Candidate& file, const std::string& reason) {
  return {"  skipped " + file.label + " — " + reason + "\n", 0, true};
}

const std::string& TooSlow() {
  static const std::string kText = "the pattern looks too far ahead in one of its lines";
  return kText;
}

/// The locks as a save would meet them; empty when nothing is in its way.
std::string LockedBy(VersionStore& store, const std::string& path, const std::string& author) {
  if (!store.locks().held_by_other(path, author)) return {};
  return "locked by " + store.locks().holder(path);
}

/// What an edit is about in one store.
class StoreEdit {
 public:
  StoreEdit(const VerbCall& call, const GrepOptions& options, std::shared_ptr<VersionStore> store)
      : snapshot_(TakeSnapshot(std::move(store))),
        filter_(snapshot_, {options.paths, options.include, options.exclude},
                call.caller.folder.path),
        labels_(call, *snapshot_.store) {}

  [[nodiscard]] const std::shared_ptr<VersionStore>& store() const { return snapshot_.store; }
  [[nodiscard]] std::vector<std::string> unfit() const { return filter_.unfit(snapshot_); }

  [[nodiscard]] std::uint64_t searched() const {
    return static_cast<std::uint64_t>(std::ranges::count_if(
        snapshot_.files,
        [&](const SnapshotFile& file) { return !file.is_deleted && filter_.admits(file.path); }));
  }

  /// The live texts that hold a match, by path.
  [[nodiscard]] std::vector<Candidate> candidates(const EditRule& rule) const {
    const auto& files = snapshot_.files;
    std::vector<char> holds(files.size());
    ParallelFor(files.size(), kFilesPerTurn, [&] {
      return [&, search = search::LineSearch(rule.matcher)](std::size_t begin,
                                                            std::size_t end) mutable {
        for (std::size_t i = begin; i < end; ++i) {
          const std::string_view text = files[i].bytes.bytes();
          if (files[i].is_deleted || !filter_.admits(files[i].path) || IsBinary(text)) continue;
          search.search(text, [&](const search::LineMatch&) {
            holds[i] = 1;
            return false;
          });
        }
      };
    });
    std::vector<Candidate> found;
    for (std::size_t i = 0; i < files.size(); ++i) {
      if (holds[i] == 0) continue;
      Candidate& file = found.emplace_back(Candidate{std::string(files[i].path), {}});
      labels_.append(file.label, file.path);
    }
    return found;
  }

 private:
  StoreSnapshot snapshot_;
  PathFilter filter_;
  FileLabels labels_;
};

/// The path words that no file of any store fits. An edit is not for guessing: a pattern that lost
/// its quotes on the way would turn into paths.
std::vector<std::string> UnfitWords(const GrepOptions& options,
                                    const std::vector<StoreEdit>& edits) {
  std::vector<std::string> words = options.paths;
  for (const StoreEdit& edit : edits) {
    const std::vector<std::string> unfit = edit.unfit();
    std::erase_if(words, [&](const std::string& word) {
      return std::ranges::find(unfit, word) == unfit.end();
    });
  }
  return words;
}

/// Edits the file as it is now. The store is locked from the reading to the version.
FileEdit Apply(const VerbCall& call, const std::shared_ptr<VersionStore>& held, TextEdit& edit,
               const Candidate& candidate) {
  const HeldStore store(held, call.caller);
  // What an editor saved a moment ago is not to be replaced by what was there before.
  if (!store->is_follower()) store->reconcile_file(candidate.path);
  File* file = store->find(candidate.path);
  if (file == nullptr || file->is_gone()) return Skipped(candidate, "deleted meanwhile");
  if (!store->admits(file->name, 0)) return Skipped(candidate, ExcludedReason(*store));
  if (const auto locked = LockedBy(*store, file->name, call.caller.author); !locked.empty()) {
    return Skipped(candidate, locked);
  }
  const Blob before = file->history.back().bytes;
  const std::uint32_t version = file->version;
  const auto edited = edit.run(before.bytes());
  if (!edited) return Skipped(candidate, TooSlow());
  if (edited->count == 0) return {};
  const Blob working = file->content;
  file->content = Blob::copy_of(edited->text);
  if (!store->check_in(file, false)) {
    const std::string reason = store->message();
    file->content = working;
    return Skipped(candidate, reason);
  }
  return {"  " + candidate.label + "  v" + std::to_string(version) + " -> v" +
              std::to_string(file->version) + "  (" + std::to_string(edited->count) + ")" +
              Notice(*store) + "\n",
          edited->count, false};
}

/// What Apply() would do.
FileEdit Show(const VerbCall& call, const std::shared_ptr<VersionStore>& held, TextEdit& edit,
              const Candidate& candidate) {
  Blob bytes;
  std::string locked;
  {
    const HeldStore store(held, call.caller);
    const File* file = store->find(candidate.path);
    if (file == nullptr || file->is_gone()) return {};
    bytes = file->history.back().bytes;
    locked = LockedBy(*store, file->name, call.caller.author);
  }
  const auto edited = edit.run(bytes.bytes());
  if (!edited) return Skipped(candidate, TooSlow());
  if (edited->count == 0) return {};
  if (!locked.empty()) return Skipped(candidate, locked);
  return {candidate.label + "  (" + std::to_string(edited->count) + ")\n" + edited->lines,
          edited->count, false};
}

/// What became of all files.
struct Summary {
  std::string text;
  std::uint64_t files = 0;
  std::uint64_t count = 0;
  std::uint64_t skipped = 0;
  std::uint64_t searched = 0;

  void add(const FileEdit& edit) {
    if (edit.count > 0) ++files;
    if (edit.skipped) ++skipped;
    count += edit.count;
    if (text.size() < kMaxShownBytes) text += edit.text;
  }
};

std::string AnswerOf(const Summary& summary, bool applied) {
  if (summary.files + summary.skipped == 0) {
    return OkAnswer("no match in " + std::to_string(summary.searched) + " file(s)");
  }
  const std::string skipped =
      summary.skipped == 0 ? "" : ", " + std::to_string(summary.skipped) + " file(s) skipped";
  if (applied && summary.files == 0) return ErrorAnswer("nothing replaced\n" + summary.text);
  return OkAnswer(std::to_string(summary.count) + " replacement(s) in " +
                  std::to_string(summary.files) + " file(s)" + skipped +
                  (applied ? "" : " — nothing is written yet: --apply saves, a version a file") +
                  "\n" + summary.text);
}

}  // namespace

std::string RunGrepEdit(const VerbCall& call) {
  const auto options = ParseGrep(call.arguments, GrepCommand::kEdit);
  if (!options) return ErrorAnswer(options.error().text);
  for (const std::string& path : options->paths) RequireUsefulFolder(call.caller, path);
  const auto rule = MakeEditRule(options->pattern, options->engine, options->replacement);
  if (!rule) return ErrorAnswer(rule.error().text);
  const auto stores = SearchedStores(call, options->store);
  if (!stores) return ErrorAnswer(stores.error().text);
  std::vector<StoreEdit> edits;
  for (const auto& store : *stores) edits.emplace_back(call, *options, store);
  if (const auto unfit = UnfitWords(*options, edits); !unfit.empty()) {
    return ErrorAnswer("no versioned file fits '" + Join(unfit, "', '") +
                       "' — nothing edited (a pattern or replacement with blanks goes into double "
                       "quotes that reach this command)");
  }
  Summary summary;
  TextEdit edit(*rule);
  for (StoreEdit& one : edits) {
    const std::vector<Candidate> candidates = one.candidates(*rule);
    summary.searched += one.searched();
    for (const Candidate& candidate : candidates) {
      summary.add(options->apply ? Apply(call, one.store(), edit, candidate)
                                 : Show(call, one.store(), edit, candidate));
    }
  }
  return AnswerOf(summary, options->apply);
}

}  // namespace mrb::vfs
