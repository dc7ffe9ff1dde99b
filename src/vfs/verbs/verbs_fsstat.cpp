// Questions about files and stores.

#include <algorithm>
#include <array>
#include <ranges>
#include <set>

#include "common/answer.h"
#include "vfs/model/size_text.h"
#include "vfs/verbs/verb_call.h"

namespace mrb::vfs {
namespace {

std::uint64_t SizeOf(const File& file) {
  return file.history.empty() ? 0 : file.history.back().bytes.bytes().size();
}

std::string Exists(const VerbCall& call) {
  std::string path = call.args.text("path", 0);
  const auto at = Locate(call, path);
  if (!at) return OkAnswer("no — " + path + " is in no store");
  const HeldStore store(at->store, call.caller);
  if (store->is_cache()) {
    const bool there =
        platform::Exists(*call.service.options().files, store->working_path(at->path));
    return OkAnswer((there ? "yes — " : "no — ") + path);
  }
  const File* file = store->find(at->path);
  if (file != nullptr && !file->is_gone()) {
    return OkAnswer("yes — " + path + " v" + std::to_string(file->version));
  }
  if (file != nullptr && !file->history.empty()) {
    return OkAnswer("no — " + path + " is tombstoned (v" + std::to_string(file->version) +
                    "; fs:restore to bring it back)");
  }
  if (store->is_folder(at->path)) return OkAnswer("yes — " + path + " is a folder");
  return OkAnswer("no — " + path);
}

std::string Version(const VerbCall& call) {
  std::string path = call.args.text("path", 0);
  const auto at = Locate(call, path);
  if (!at) return ErrorAnswer("no such file: " + path);
  const HeldStore store(at->store, call.caller);
  const File* file = store->find(at->path);
  if (file == nullptr || file->history.empty()) return ErrorAnswer("no such file: " + path);
  return OkAnswer(path + " v" + std::to_string(file->version) +
                  (file->is_gone() ? " (tombstoned)" : ""));
}

bool IsLive(const File* file) {
  return !file->is_gone();
}

/// What lies directly in a folder: its files, and the names of its folders.
struct Listing {
  std::set<std::string> folders;
  std::vector<const File*> files;
};

Listing ListFolder(const VersionStore& store, const std::string& folder) {
  Listing listing;
  for (const File* file : store.table().below(folder) | std::views::filter(IsLive)) {
    const std::string_view rest = PathBelow(folder, file->name);
    const std::size_t slash = rest.find('/');
    if (slash == std::string_view::npos) {
      listing.files.push_back(file);
    } else {
      listing.folders.emplace(rest.substr(0, slash));
    }
  }
  return listing;
}

std::string FileLine(const File& file, std::string_view name) {
  return "  " + std::string(name) + "  v" + std::to_string(file.version) + "  " +
         std::to_string(SizeOf(file)) + "b  " + StampText(file.stamp) + "  " +
         std::string(file.author.text()) + "\n";
}

/// `list` shows names, `dir` also what is known of each file.
std::string ListOrDir(const VerbCall& call, bool details) {
  std::string path = call.args.text("path", 0);
  std::optional<StorePath> at;
  if (path.empty()) {
    const auto chosen = ChosenStore(call);
    if (!chosen) return ErrorAnswer(chosen.error().text);
    at = StorePath{*chosen, ""};
  } else {
    at = Locate(call, path);
  }
  if (!at) return ErrorAnswer("no such folder: " + path);
  const HeldStore store(at->store, call.caller);
  const std::string shown = path.empty() ? store->disk_root() : path;
  if (!at->path.empty() && !store->is_folder(at->path)) {
    const File* file = store->find(at->path);
    if (file == nullptr || file->is_gone()) return ErrorAnswer("no such folder: " + path);
    return OkAnswer("1 entry\n" + FileLine(*file, path));
  }
  const Listing listing = ListFolder(*store, at->path);
  std::string text = std::to_string(listing.folders.size()) + " folder(s), " +
                     std::to_string(listing.files.size()) + " file(s) in " + shown + "\n";
  for (const std::string& folder : listing.folders) text += "  " + folder + "/\n";
  for (const File* file : listing.files) {
    const std::string_view name = PathBelow(at->path, file->name);
    text += details ? FileLine(*file, name) : "  " + std::string(name) + "\n";
  }
  return OkAnswer(text);
}

std::string List(const VerbCall& call) {
  return ListOrDir(call, false);
}

std::string Dir(const VerbCall& call) {
  return ListOrDir(call, true);
}

std::string Stores(const VerbCall& call) {
  StoreRegistry& registry = call.service.registry();
  const bool all = call.args.option("show-config").has_value();
  const auto active = registry.active();
  std::string lines;
  std::size_t count = 0;
  for (const auto& known : registry.all()) {
    if (known->category() == StoreCategory::kConfiguration && !all) continue;
    const bool watched = registry.is_watched(*known);
    const HeldStore store(known, call.caller);
    ++count;
    lines += known == active ? "* " : "  ";
    lines += store->disk_root();
    if (store->category() == StoreCategory::kSingleFiles) {
      lines += "  [single files: " + std::to_string(store->followed().size()) + "]";
    } else {
      lines += "  [" + FormatPolicy(store->policy()) + "]  " +
               std::to_string(std::ranges::count_if(store->table().in_order(), IsLive)) +
               " file(s)";
    }
    if (store->category() == StoreCategory::kConfiguration) lines += "  configuration";
    if (store->is_follower()) lines += "  read-only follower";
    if (watched) lines += "  watched";
    lines += "\n";
  }
  return OkAnswer(std::to_string(count) + " store(s)  (* active)\n" + lines);
}

std::string Paths(const VerbCall& call) {
  const auto chosen = ChosenStore(call);
  if (!chosen) return ErrorAnswer(chosen.error().text);
  const HeldStore store(*chosen, call.caller);
  std::size_t count = 0;
  std::string lines;
  for (const File* file : store->table().in_order() | std::views::filter(IsLive)) {
    ++count;
    lines += "  " + file->name + "\n";
  }
  return OkAnswer(std::to_string(count) + " path(s) in " + store->disk_root() + "\n" + lines);
}

std::string Stats(const VerbCall& call) {
  const auto chosen = ChosenStore(call);
  if (!chosen) return ErrorAnswer(chosen.error().text);
  const HeldStore store(*chosen, call.caller);
  std::uint64_t live = 0;
  std::uint64_t gone = 0;
  std::uint64_t versions = 0;
  std::uint64_t current = 0;
  std::uint64_t history = 0;
  std::set<std::string> folders;
  for (const auto& file : store->table().files()) {
    if (file->history.empty()) continue;
    ++(file->is_gone() ? gone : live);
    versions += file->history.size();
    for (const VersionRecord& record : file->history) history += record.bytes.bytes().size();
    if (file->is_gone()) continue;
    current += SizeOf(*file);
    history -= SizeOf(*file);
    for (std::size_t slash = file->name.find('/'); slash != std::string::npos;
         slash = file->name.find('/', slash + 1)) {
      folders.insert(file->name.substr(0, slash));
    }
  }
  return OkAnswer(store->disk_root() + ": " + std::to_string(live) + " file(s), " +
                  std::to_string(gone) + " tombstoned, " + std::to_string(folders.size()) +
                  " folder(s), " + std::to_string(versions) + " version(s), " +
                  RoundedSize(current) + " current + " + RoundedSize(history) + " history");
}

constexpr std::array kRows{
    VerbRow{"exists", "", "fsstat:exists <path>", true, &Exists},
    VerbRow{"version", "", "fsstat:version <path>", true, &Version},
    VerbRow{"list", "ls", "fsstat:list [<folder>] [--store=dir]", false, &List},
    VerbRow{"stores", "", "fsstat:stores [--show-config]", false, &Stores},
    VerbRow{"paths", "", "fsstat:paths [--store=dir]", false, &Paths},
    VerbRow{"dir", "", "fsstat:dir [<folder>] [--store=dir]", false, &Dir},
    VerbRow{"stats", "", "fsstat:stats [--store=dir]", false, &Stats},
};

}  // namespace

const VerbFamily& FsstatVerbs() {
  static constexpr VerbFamily kFamily{"fsstat", kRows,
                                      "(exists|version|list|stores|paths|dir|stats)"};
  return kFamily;
}

}  // namespace mrb::vfs
