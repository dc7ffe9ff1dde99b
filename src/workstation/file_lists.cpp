// files/stores, files/folder and files/names: what there is.

#include <map>
#include <utility>

#include "vfs/policy/policy.h"
#include "vfs/query/glob.h"
#include "workstation/params.h"
#include "workstation/route_context.h"

namespace mrb::workstation {
namespace {

using StoreRef = std::shared_ptr<vfs::VersionStore>;

std::string_view CategoryName(vfs::StoreCategory category) {
  switch (category) {
    case vfs::StoreCategory::kEnrolled:
      return "enrolled";
    case vfs::StoreCategory::kSingleFiles:
      return "files";
    case vfs::StoreCategory::kConfiguration:
      return "configuration";
  }
  return {};
}

void AddStore(JsonWriter& json, vfs::StoreRegistry& stores, const StoreRef& store) {
  json.begin_object().field("id", StoreId(*store)).name_field("root", store->disk_root());
  json.field("category", CategoryName(store->category()));
  json.field("active", store == stores.active()).field("watched", stores.is_watched(*store));
  json.field("follower", store->is_follower()).field("versioned", !store->is_cache());
  const vfs::VersionStore::Lock held = store->lock();
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
  std::uint64_t gone = 0;
  for (const auto& file : store->table().files()) {
    if (file->history.empty()) continue;
    ++(file->is_gone() ? gone : files);
    bytes += file->history.back().bytes.bytes().size();
  }
  json.field("policy", vfs::FormatPolicy(store->policy()));
  json.field("files", files).field("deleted", gone).field("bytes", bytes).end_object();
}

void AddFile(JsonWriter& json, const File& file) {
  const VersionRecord& newest = file.history.back();
  json.begin_object().name_field("path", file.name).field("version", newest.version);
  json.field("author", newest.author.text()).field("stamp", StampText(newest.stamp));
  json.field("size", newest.bytes.bytes().size()).field("deleted", newest.tombstone);
  json.end_object();
}

/// A row of a folder's listing: a file, or a folder in it with what is below.
struct Entry {
  std::string_view name;
  const File* file = nullptr;
  std::uint64_t files = 0;
};

/// What lies directly in a folder.
std::vector<Entry> EntriesIn(const vfs::VersionStore& store, std::string_view folder,
                             bool deleted) {
  std::vector<Entry> entries;
  std::map<std::string_view, std::uint64_t> folders;
  for (const File* file : store.table().below(folder)) {
    if (file->history.empty() || (file->is_gone() && !deleted)) continue;
    const std::string_view rest = vfs::PathBelow(folder, file->name);
    const std::size_t slash = rest.find('/');
    if (slash == std::string_view::npos) {
      entries.push_back({rest, file});
    } else {
      ++folders[rest.substr(0, slash)];
    }
  }
  for (const auto& [name, files] : folders) entries.push_back({name, nullptr, files});
  return entries;
}

/// The files of the stores whose name or path fits.
struct Named {
  const vfs::VersionStore* store;
  const File* file;
};

std::string GlobOf(const std::string& wanted) {
  const bool is_glob = wanted.find_first_of("*?") != std::string::npos;
  return is_glob ? wanted : "*" + wanted + "*";
}

bool Fits(std::string_view glob, std::string_view path) {
  const std::string_view name = path.substr(path.rfind('/') + 1);
  return query::Matches(glob, name) || query::Matches(glob, path);
}

}  // namespace

Answer AnswerStores(RouteContext& route, const Params& /*params*/) {
  vfs::StoreRegistry& stores = route.parts.files.stores();
  JsonWriter json = BeginAnswer();
  json.key("stores").begin_array();
  for (const StoreRef& store : stores.all()) AddStore(json, stores, store);
  json.end_array();
  return EndAnswer(json);
}

Answer AnswerFolder(RouteContext& route, const Params& params) {
  const auto store = StoreOf(route, params);
  if (!store) return std::unexpected(store.error());
  const auto page = params.page();
  if (!page) return std::unexpected(page.error());
  const std::string folder = params.text("folder");
  const vfs::VersionStore::Lock held = (*store)->lock();
  std::vector<Entry> entries = EntriesIn(**store, folder, params.is_set("deleted"));
  JsonWriter json = BeginAnswer();
  json.field("total", entries.size()).key("entries").begin_array();
  const auto rows = PageOf(entries, *page, [](const Entry& a, const Entry& b) {
    return std::pair(a.file != nullptr, a.name) < std::pair(b.file != nullptr, b.name);
  });
  for (const Entry& entry : rows) {
    if (entry.file != nullptr) {
      AddFile(json, *entry.file);
    } else {
      const std::string path = (folder.empty() ? "" : folder + "/") + std::string(entry.name);
      json.begin_object().name_field("folder", path).field("files", entry.files).end_object();
    }
  }
  json.end_array();
  return EndAnswer(json);
}

Answer AnswerFileNames(RouteContext& route, const Params& params) {
  const auto page = params.page();
  if (!page) return std::unexpected(page.error());
  const auto wanted = params.needed("q");
  if (!wanted) return std::unexpected(wanted.error());
  const auto stores = StoresOf(route, params);
  if (!stores) return std::unexpected(stores.error());
  const std::string glob = GlobOf(*wanted);
  const bool deleted = params.is_set("deleted");
  std::vector<vfs::VersionStore::Lock> held;
  std::vector<Named> found;
  for (const StoreRef& store : *stores) {
    held.push_back(store->lock());
    for (const auto& file : store->table().files()) {
      if (file->history.empty() || (file->is_gone() && !deleted)) continue;
      if (Fits(glob, file->name)) found.push_back({store.get(), file.get()});
    }
  }
  JsonWriter json = BeginAnswer();
  json.field("total", found.size()).key("files").begin_array();
  const auto rows = PageOf(found, *page, [](const Named& a, const Named& b) {
    return std::pair(std::string_view(a.file->name), a.store) <
           std::pair(std::string_view(b.file->name), b.store);
  });
  for (const Named& row : rows) {
    json.begin_object().field("store", StoreId(*row.store)).key("file");
    AddFile(json, *row.file);
    json.end_object();
  }
  json.end_array();
  return EndAnswer(json);
}

}  // namespace mrb::workstation
