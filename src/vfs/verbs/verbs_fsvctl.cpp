// History and check-in.

#include <algorithm>
#include <array>
#include <ranges>

#include "common/answer.h"
#include "common/text.h"
#include "vfs/verbs/enroll_verbs.h"
#include "vfs/verbs/verb_call.h"
#include "vfs/verbs/verbs_diff.h"
#include "vfs/verbs/watch_verbs.h"

namespace mrb::vfs {
namespace {

constexpr std::uint64_t kDefaultChanges = 50;

/// A file of some store, found for a verb.
struct Found {
  std::string path;  ///< as answers call it
  StorePath at;
};

/// The answer to give when there is none.
std::expected<Found, std::string> Find(const VerbCall& call) {
  std::string path = call.args.text("path", 0);
  auto at = Locate(call, path);
  if (!at) return std::unexpected(ErrorAnswer("no such file: " + path));
  return Found{std::move(path), *std::move(at)};
}

std::string NoFile(VersionStore& store, const Found& found) {
  return ErrorAnswer((store.is_folder(found.at.path) ? "not a file: " : "no such file: ") +
                     found.path);
}

std::string WroteThrough(const std::string& path) {
  return OkAnswer("wrote through " + path +
                  " — cache write-through store (mode=cachewt), no version recorded");
}

std::string Log(const VerbCall& call) {
  const auto found = Find(call);
  if (!found) return found.error();
  const HeldStore store(found->at.store, call.caller);
  if (store->is_cache()) {
    return "LOG " + found->path +
           "  — cache write-through store (mode=cachewt): no version chain kept";
  }
  const File* file = store->find(found->at.path);
  if (file == nullptr || file->history.empty()) return NoFile(*store, *found);
  std::string text =
      "LOG " + found->path + "  (" + std::to_string(file->history.size()) + " versions)\n";
  for (const VersionRecord& record : file->history) {
    text.append("  v").append(std::to_string(record.version)).append("  ");
    text.append(record.author.text()).append("  ").append(StampText(record.stamp)).append("  ");
    text.append(std::to_string(record.bytes.bytes().size())).append("b\n");
  }
  return text;
}

/// The edit lock for the caller; the answer when somebody else holds it.
std::string Queue(VersionStore& store, const File& file, const VfsCall& caller) {
  if (store.locks().take(file.name, caller.author) != LockTable::Taken::kQueued) return {};
  return store.locks().holder(file.name);
}

/// Bytes of the file as they are now; a cache store reads them.
Result<Blob> Working(const VerbCall& call, const HeldStore& store, const File& file) {
  if (store->is_cache()) return call.service.cache().read(*store, file.name);
  return file.is_gone() ? Blob() : file.history.back().bytes;
}

File* LiveFile(const HeldStore& store, const std::string& path) {
  if (store->is_cache()) return &store->touch(path);
  File* file = store->find(path);
  return file == nullptr || file->is_gone() ? nullptr : file;
}

std::string Checkout(const VerbCall& call) {
  const auto found = Find(call);
  if (!found) return found.error();
  const HeldStore store(found->at.store, call.caller);
  const File* file = LiveFile(store, found->at.path);
  if (file == nullptr) return NoFile(*store, *found);
  const auto bytes = Working(call, store, *file);
  if (!bytes) return NoFile(*store, *found);
  const std::string holder = Queue(*store, *file, call.caller);
  if (!holder.empty()) {
    return ErrorAnswer(found->path + " is locked by " + holder + " — queued behind that holder");
  }
  std::string answer = OkAnswer("checked out " + found->path);
  if (call.args.is_true("load")) answer.append("\n").append(bytes->bytes());
  return answer;
}

std::string Checkin(const VerbCall& call) {
  const auto found = Find(call);
  if (!found) return found.error();
  const HeldStore store(found->at.store, call.caller);
  File* file = store->find(found->at.path);
  if (file == nullptr || (!store->is_cache() && file->history.empty())) {
    return NoFile(*store, *found);
  }
  if (!store->admits(file->name, 0)) return ErrorAnswer(ExcludedReason(*store));
  if (file->is_gone() && !store->is_cache()) {
    return ErrorAnswer("file tombstoned: " + found->path + " (fs:restore to bring it back)");
  }
  if (!store->check_in(file, call.args.is_true("dirty"))) return Failure(*store);
  if (store->is_cache()) return WroteThrough(found->path);
  return OkAnswer("checked in " + found->path + " v" + std::to_string(file->version) +
                  Notice(*store));
}

/// The text with `old_text` replaced; why not, otherwise.
std::expected<std::string, std::string> Replaced(std::string_view text, const std::string& old_text,
                                                 const std::string& new_text, bool all,
                                                 const std::string& path) {
  std::size_t at = text.find(old_text);
  if (at == std::string_view::npos) return std::unexpected("<old> text not found in " + path);
  if (!all && text.find(old_text, at + 1) != std::string_view::npos) {
    return std::unexpected("<old> matches " + path +
                           " more than once — add more context, or set <all>true</all> to replace "
                           "every occurrence");
  }
  std::string result;
  while (at != std::string_view::npos) {
    result.append(text.substr(0, at)).append(new_text);
    text.remove_prefix(at + old_text.size());
    at = all ? text.find(old_text) : std::string_view::npos;
  }
  return result.append(text);
}

std::string Editone(const VerbCall& call) {
  const auto found = Find(call);
  if (!found) return found.error();
  const HeldStore store(found->at.store, call.caller);
  File* file = LiveFile(store, found->at.path);
  if (file == nullptr) return NoFile(*store, *found);
  if (!store->admits(file->name, 0)) return ErrorAnswer(ExcludedReason(*store));
  const auto bytes = Working(call, store, *file);
  if (!bytes) return NoFile(*store, *found);
  const bool had_lock = store->locks().holder(file->name) == call.caller.author;
  if (const std::string holder = Queue(*store, *file, call.caller); !holder.empty()) {
    return ErrorAnswer(found->path + " is locked by " + holder + " — queued, not edited");
  }
  const auto edit = [&]() -> std::string {
    const auto old_text = call.args.tag("old");
    if (!old_text || old_text->empty()) {
      return ErrorAnswer("<old> required (fsvctl:checkin for a full overwrite)");
    }
    const auto text = Replaced(bytes->bytes(), *old_text, call.args.tag("new").value_or(""),
                               call.args.is_true("all"), found->path);
    if (!text) return ErrorAnswer(text.error());
    file->content = Blob::copy_of(*text);
    if (!store->check_in(file, call.args.is_true("dirty"))) return Failure(*store);
    if (store->is_cache()) return WroteThrough(found->path);
    return OkAnswer("edited " + found->path + " v" + std::to_string(file->version) +
                    Notice(*store));
  };
  std::string answer = edit();
  if (!had_lock) store->locks().release(file->name, call.caller.author);
  return answer;
}

std::string Revert(const VerbCall& call) {
  const auto found = Find(call);
  if (!found) return found.error();
  const std::string wanted = call.args.text("version", 1);
  if (wanted.empty()) return UsageOf(FsvctlVerbs(), call.verb);
  const HeldStore store(found->at.store, call.caller);
  if (store->is_cache()) {
    return ErrorAnswer(found->path +
                       " is in a cache write-through store (mode=cachewt) — no version history to "
                       "revert to");
  }
  File* file = store->find(found->at.path);
  if (file == nullptr || file->history.empty()) return NoFile(*store, *found);
  const auto version = VersionOf(wanted);
  if (!version) return NoVersion(wanted, found->path);
  if (!store->revert(file, *version)) {
    const std::string number = std::to_string(*version);
    return store->message() == "no such version" ? NoVersion(number, found->path) : Failure(*store);
  }
  return OkAnswer("reverted " + found->path + " to v" + std::to_string(*version) + " (now v" +
                  std::to_string(file->version) + ")" + Notice(*store));
}

std::string Open(const VerbCall& call) {
  const auto found = Find(call);
  if (!found) return found.error();
  const std::string wanted = call.args.text("version", 1);
  if (wanted.empty()) return UsageOf(FsvctlVerbs(), call.verb);
  const HeldStore store(found->at.store, call.caller);
  const File* file = store->find(found->at.path);
  if (file == nullptr || file->history.empty()) return NoFile(*store, *found);
  const auto version = VersionOf(wanted);
  if (!version) return NoVersion(wanted, found->path);
  const auto bytes = store->version_bytes(*file, *version);
  if (!bytes) return NoVersion(std::to_string(*version), found->path);
  return std::string(bytes->bytes());
}

/// "2026-11-23" and "2026-11-23 09:05:00", and any beginning between the two.
bool IsSince(const Change& change, std::string_view since) {
  return std::string_view(StampText(change.stamp)) >= since;
}

std::string Timeline(const VerbCall& call) {
  const auto chosen = ChosenStore(call);
  if (!chosen) return ErrorAnswer(chosen.error().text);
  const auto limit_text = call.args.option("limit");
  const auto limit = limit_text ? ParseDecimal(*limit_text) : kDefaultChanges;
  if (!limit) return ErrorAnswer("--limit takes a number");
  const std::string since = call.args.option("since").value_or("");
  const auto author = call.args.option("author");
  const HeldStore store(*chosen, call.caller);
  const auto changes = store->all_changes();
  if (!changes) return ErrorAnswer(changes.error().text);
  std::string lines;
  std::uint64_t count = 0;
  for (const Change& change : *changes | std::views::reverse) {
    if (count >= *limit) break;
    if (change.carried || !IsSince(change, since)) continue;
    if (author && change.author != *author) continue;
    ++count;
    lines.append("  ").append(StampText(change.stamp)).append("  v");
    lines.append(std::to_string(change.version)).append("  ").append(ChangeKindName(change.kind));
    lines.append("  ").append(change.author).append("  ").append(std::to_string(change.size));
    lines.append("b  ").append(change.path).append("\n");
  }
  return "TIMELINE " + store->disk_root() + "  (" + std::to_string(count) + " changes)\n" + lines;
}

constexpr std::array kRows{
    VerbRow{"log", "history", "fsvctl:log <path>", true, &Log},
    VerbRow{"checkout", "", "fsvctl:checkout <path> [<load>true</load>]", true, &Checkout},
    VerbRow{"checkin", "", "fsvctl:checkin <path> [<dirty>true</dirty>]", true, &Checkin},
    VerbRow{"editone", "",
            "fsvctl:editone <path>p</path><old>a</old><new>b</new> [<all>true</all>] "
            "[<dirty>true</dirty>]",
            true, &Editone},
    VerbRow{"revert", "", "fsvctl:revert <path> <version>", true, &Revert},
    VerbRow{"open", "", "fsvctl:open <path> <version>", true, &Open},
    VerbRow{"diff", "", "fsvctl:diff <path> [a] [b]", true, &RunDiff},
    VerbRow{"timeline", "",
            "fsvctl:timeline [--since=YYYY-MM-DD] [--author=name] [--limit=n] [--store=dir]", false,
            &Timeline},
    VerbRow{"enroll", "enrollversioncontrol enrollinversioncontrol",
            "Mirebolt EnrollVersionControl <directory> [flags]", false, &Enroll},
    VerbRow{"unenroll", "", "fsvctl:unenroll <directory>", true, &Unenroll},
    VerbRow{"watch", "", "fsvctl:watch [<file>]", false, &Watch},
    VerbRow{"unwatch", "", "fsvctl:unwatch <file>", true, &Unwatch},
};

}  // namespace

const VerbFamily& FsvctlVerbs() {
  static constexpr VerbFamily kFamily{
      "fsvctl", kRows,
      "(log|checkout|checkin|editone|revert|open|diff|timeline|enroll|unenroll|watch|unwatch)"};
  return kFamily;
}

}  // namespace mrb::vfs
