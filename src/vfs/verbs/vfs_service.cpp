#include "vfs/verbs/vfs_service.h"

#include <algorithm>
#include <array>
#include <exception>
#include <tuple>

#include "common/answer.h"
#include "common/json_writer.h"
#include "common/text.h"
#include "vfs/model/tree_path.h"
#include "vfs/verbs/store_query.h"
#include "vfs/verbs/verb_call.h"

namespace mrb::vfs {
namespace {

const VerbFamily* FamilyOf(std::string_view name) {
  const std::array families{&FsVerbs(),   &FsvctlVerbs(), &FslockVerbs(),     &FsstatVerbs(),
                            &FsmkVerbs(), &FsrawVerbs(),  &FssysStoreVerbs(), &GrepVerbs()};
  const auto family = std::ranges::find(families, name, &VerbFamily::name);
  return family == families.end() ? nullptr : *family;
}

const VerbRow* RowOf(const VerbFamily& family, std::string_view verb) {
  const auto row = std::ranges::find_if(family.rows, [verb](const VerbRow& known) {
    const auto aliases = SplitWords(known.aliases);
    return known.name == verb || std::ranges::find(aliases, verb) != aliases.end();
  });
  return row == family.rows.end() ? nullptr : &*row;
}

}  // namespace

std::string VfsService::execute(const VfsCall& call, std::string_view name_space,
                                std::string_view verb, std::string_view arguments) {
  const VerbFamily* family = FamilyOf(name_space);
  if (family == nullptr) return ErrorAnswer("unknown namespace '" + std::string(name_space) + "'");
  const VerbRow* row = RowOf(*family, verb);
  if (row == nullptr) {
    return ErrorAnswer("unknown " + std::string(family->name) + " op '" + std::string(verb) + "' " +
                       std::string(family->unknown));
  }
  try {
    const VerbCall verb_call{files_, call, verb, arguments, Arguments(arguments)};
    if (row->needs_path && verb_call.args.text("path", 0).empty() &&
        verb_call.args.text("src", 0).empty()) {
      return UsageOf(*family, verb);
    }
    files_.load();
    return row->run(verb_call);
  } catch (const NoCallerFolder& refusal) {
    return ErrorAnswer(refusal.what());
  } catch (const std::exception& problem) {  // no memory, most likely
    return ErrorAnswer(std::string("the command failed: ") + problem.what());
  }
}

std::string VfsService::query(const VfsCall& call, std::string_view expression,
                              std::string_view options) {
  try {
    files_.load();
    return RunQuery({files_, call, "query", expression, Arguments(options)});
  } catch (const NoCallerFolder& refusal) {
    return ErrorAnswer(refusal.what());
  } catch (const std::exception& problem) {  // no memory, most likely
    return ErrorAnswer(std::string("the command failed: ") + problem.what());
  }
}

std::optional<std::vector<VfsService::FolderVersion>> VfsService::versions_in(
    const std::string& folder) {
  files_.load();
  const auto at = files_.registry().resolve(folder, {});
  if (!at || at->store->category() == StoreCategory::kSingleFiles || at->store->is_cache()) {
    return std::nullopt;
  }
  std::vector<FolderVersion> versions;
  const VersionStore::Lock guard = at->store->lock();
  for (const File* file : at->store->table().below(at->path)) {
    if (file->is_gone()) continue;
    const std::string name(PathBelow(at->path, file->name));
    if (name.find('/') != std::string::npos) continue;
    for (const VersionRecord& record : file->history) {
      if (!record.tombstone) versions.push_back({name, record.version, record.stamp, record.bytes});
    }
  }
  std::ranges::sort(versions, [](const FolderVersion& a, const FolderVersion& b) {
    return std::tie(a.name, a.version) < std::tie(b.name, b.version);
  });
  return versions;
}

std::string VfsService::directories_json() {
  files_.load();
  const auto listed = files_.enrollments().read();
  JsonWriter json;
  json.begin_object().field("ok", listed.has_value());
  if (!listed) return json.field("error", listed.error().text).end_object().take();
  json.field("list", files_.enrollments().path()).key("dirs").begin_array();
  for (const EnrollmentList::Entry& entry : listed->entries) {
    const bool loaded = files_.registry().of_root(entry.directory) != nullptr;
    json.begin_object().field("dir", entry.directory).field("loaded", loaded).end_object();
  }
  return json.end_array().end_object().take();
}

std::string VfsService::stores_json() {
  files_.load();
  const auto active = files_.registry().active();
  JsonWriter json;
  json.begin_object().field("ok", true).key("stores").begin_array();
  for (const auto& store : files_.registry().all()) {
    const bool watched = files_.registry().is_watched(*store);
    const VersionStore::Lock guard = store->lock();
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    for (const auto& file : store->table().files()) {
      if (file->is_gone()) continue;
      ++files;
      bytes += file->history.back().bytes.bytes().size();
    }
    json.begin_object().field("root", store->disk_root());
    json.field("policy", FormatPolicy(store->policy())).field("files", files).field("bytes", bytes);
    json.field("active", store == active).field("watched", watched);
    json.field("config", store->category() == StoreCategory::kConfiguration).end_object();
  }
  return json.end_array().end_object().take();
}

}  // namespace mrb::vfs
