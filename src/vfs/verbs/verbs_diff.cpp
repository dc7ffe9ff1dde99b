// diff: of files and of folders.

#include "vfs/verbs/verbs_diff.h"

#include <algorithm>

#include "common/answer.h"
#include "common/text.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "vfs/diff/directory_diff.h"
#include "vfs/model/node_diff.h"
#include "vfs/store/folder_state.h"

namespace mrb::vfs {
namespace {

constexpr std::string_view kNoMemory =
    "not enough free memory to compare these directories right now — close some things to free "
    "RAM and try again";

diff::MemoryCheck MemoryOf(const VerbCall& call) {
  return WithinMemory(call.service.options().memory);
}

/// Something that a path named.
struct Named {
  std::string path;  ///< as answers call it
  StorePath at;
  bool is_folder = false;
};

/// Whether a path is, or was, that of a folder.
bool IsFolderOrWas(const VersionStore& store, const std::string& path) {
  return path.empty() || !store.table().below(path).empty();
}

std::optional<Named> Lookup(const VerbCall& call, std::string path) {
  auto at = Locate(call, path);
  if (!at) return std::nullopt;
  const HeldStore store(at->store, call.caller);
  const File* file = store->find(at->path);
  const bool is_folder = IsFolderOrWas(*store, at->path) && (file == nullptr || file->is_gone());
  if (!is_folder && (file == nullptr || file->history.empty())) return std::nullopt;
  return Named{std::move(path), *std::move(at), is_folder};
}

/// One side of a comparison of files.
struct Side {
  std::string path;
  std::uint32_t version = 0;
  Blob bytes;
};

std::string DiffSides(const VerbCall& call, const Side& a, const Side& b) {
  return diff::FileDiff({a.path, a.version, a.bytes.bytes()}, {b.path, b.version, b.bytes.bytes()},
                        MemoryOf(call));
}

/// The version that an argument names. Without one: the newest, or 0, none, when that is not asked
/// for and there is none before it.
std::optional<std::uint32_t> DiffVersion(const File& file, const std::string& wanted, bool newest) {
  if (!wanted.empty()) return VersionOf(wanted);
  if (newest) return file.history.back().version;
  return file.history.size() < 2 ? 0 : file.history[file.history.size() - 2].version;
}

std::string DiffVersions(const VerbCall& call, const Named& named, const std::string& a,
                         const std::string& b) {
  Side sides[2];
  {
    const HeldStore store(named.at.store, call.caller);
    const File* file = store->find(named.at.path);
    for (Side& side : sides) {
      const bool is_second = &side == &sides[1];
      const std::string& wanted = is_second ? b : a;
      const auto version = DiffVersion(*file, wanted, is_second);
      if (!version) return NoVersion(wanted, named.path);
      side = {named.path, *version, {}};
      if (side.version == 0) continue;
      auto bytes = store->version_bytes(*file, side.version);
      if (!bytes) return NoVersion(std::to_string(side.version), named.path);
      side.bytes = *std::move(bytes);
    }
  }
  return DiffSides(call, sides[0], sides[1]);
}

Side Newest(const VerbCall& call, const Named& named) {
  const HeldStore store(named.at.store, call.caller);
  const File* file = store->find(named.at.path);
  return {named.path, file->version, file->history.back().bytes};
}

/// One side of a comparison of folders.
struct FolderSide {
  const Named* named = nullptr;
  std::optional<VersionStamp> moment;
};

/// Whoever asked may have closed the terminal before the list was read: it stays in a file beside
/// the mirrors.
void KeepSummary(const VerbCall& call, const std::string& text) {
  const VfsOptions& options = call.service.options();
  const std::string folder = platform::JoinPath(options.data_home, ".versioncontrol");
  Status kept = options.files->make_directory(folder);
  if (kept || kept.error().kind == ErrorKind::kAlreadyExists) {
    kept = platform::ReplaceFile(*options.files, platform::JoinPath(folder, "_DIFF_SUMMARY.txt"),
                                 text);
  }
  if (!kept && options.print) {
    options.print("warning: no _DIFF_SUMMARY.txt: " + kept.error().text + "\n");
  }
}

/// What listing every file of both sides may take, the answer included.
std::uint64_t ListingBytes(const FolderState& a, const FolderState& b, std::size_t root_bytes) {
  constexpr std::uint64_t kPerFile = 256;
  constexpr std::uint64_t kCopies = 4;  // of a path: both tables and two references
  std::uint64_t bytes = 0;
  for (const FolderState* state : {&a, &b}) {
    for (const auto& file : state->files) {
      bytes += kPerFile + kCopies * (file.path.size() + root_bytes);
    }
  }
  return bytes;
}

std::string DiffFolders(const VerbCall& call, const FolderSide& a, const FolderSide& b) {
  diff::TreeSide sides[2];
  FolderState states[2];
  std::string roots[2];
  try {
    for (int i = 0; i < 2; ++i) {
      const FolderSide& side = i == 0 ? a : b;
      auto state = StateOf(side.named->at.store, side.named->at.path, side.moment);
      if (!state) return ErrorAnswer(state.error().text);
      states[i] = *std::move(state);
      roots[i] = side.named->path;
    }
    if (!MemoryOf(call)(ListingBytes(states[0], states[1], roots[0].size() + roots[1].size()))) {
      return std::string(kNoMemory);
    }
    for (int i = 0; i < 2; ++i) {
      const auto& moment = i == 0 ? a.moment : b.moment;
      sides[i].root = roots[i];
      if (moment) sides[i].moment = StampText(*moment);
      for (const auto& file : states[i].files) {
        sides[i].files.push_back({file.path, file.version, file.bytes.bytes()});
      }
    }
    std::string text = diff::DirectoryDiff(std::move(sides[0]), std::move(sides[1]));
    KeepSummary(call, text);
    return text;
  } catch (const std::bad_alloc&) {
    return std::string(kNoMemory);
  }
}

/// A folder with another one, or with itself at another moment.
std::string DiffFolder(const VerbCall& call, const Named& named, const std::string& a,
                       const std::string& b) {
  if (a.empty()) {
    return ErrorAnswer(named.path +
                       " is a folder — name another one, or a moment (2026-11-23T09:05)");
  }
  if (named.at.store->is_cache()) return ErrorAnswer(NothingToSearch(*named.at.store));
  if (const auto other = Lookup(call, a)) {
    if (!other->is_folder) return std::string(diff::kNotAFile);
    if (other->at.store->is_cache()) return ErrorAnswer(NothingToSearch(*other->at.store));
    return DiffFolders(call, {&named, {}}, {&*other, {}});
  }
  const auto moment = ParseMoment(a);
  const auto later = ParseMoment(b);
  if (!moment) return ErrorAnswer("no such directory: " + a);
  if (!b.empty() && !later) return ErrorAnswer("no moment: " + b);
  return DiffFolders(call, {&named, moment}, {&named, later});
}

}  // namespace

std::optional<std::uint32_t> VersionOf(std::string_view text) {
  text = Trim(text);
  if (text.starts_with('v') || text.starts_with('V')) text.remove_prefix(1);
  const auto number = ParseDecimal(text);
  if (!number || *number == 0 || *number > UINT32_MAX) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

std::string NoVersion(const std::string& version, const std::string& path) {
  return ErrorAnswer("no v" + version + " of " + path + " (fsvctl:log shows the chain)");
}

std::string RunDiff(const VerbCall& call) {
  const std::string path = call.args.text("path", 0);
  const std::string a = call.args.text("a", 1);
  const std::string b = call.args.text("b", 2);
  const auto named = Lookup(call, path);
  if (!named) return ErrorAnswer("no such file: " + path);
  if (named->is_folder) return DiffFolder(call, *named, a, b);
  if (!a.empty() && !VersionOf(a)) {
    if (const auto other = Lookup(call, a)) {
      if (other->is_folder) return std::string(diff::kNotAFile);
      return DiffSides(call, Newest(call, *named), Newest(call, *other));
    }
  }
  return DiffVersions(call, *named, a, b);
}

}  // namespace mrb::vfs
