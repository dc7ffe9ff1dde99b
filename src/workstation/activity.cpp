#include "workstation/activity.h"

#include <array>
#include <cstdio>

#include "common/fnv1a.h"
#include "common/json_writer.h"

namespace mrb::workstation {
namespace {

/// The members of an object, as the feed takes them.
std::string Members(JsonWriter& json) {
  std::string text = json.end_object().take();
  return text.substr(1, text.size() - 2);
}

std::string_view NameOf(memory::MemoryChange::What what) {
  switch (what) {
    case memory::MemoryChange::What::kAdded:
      return "added";
    case memory::MemoryChange::What::kUpdated:
      return "updated";
    case memory::MemoryChange::What::kRemoved:
      return "removed";
    case memory::MemoryChange::What::kMoved:
      return "moved";
  }
  return {};
}

}  // namespace

std::string StoreId(const vfs::VersionStore& store) {
  // A folder may be enrolled and hold watched files at the same time: two stores of one root.
  const bool single = store.category() == vfs::StoreCategory::kSingleFiles;
  std::array<char, 24> text{};
  const auto hash = static_cast<unsigned long long>(Fnv1a(store.disk_root()));
  const int length = std::snprintf(text.data(), text.size(), single ? "f%012llx" : "d%012llx",
                                   hash & 0xFFFFFFFFFFFFULL);
  return {text.data(), static_cast<std::size_t>(length)};
}

void Activity::file_changed(const vfs::VersionStore& store, const vfs::Change& change) {
  books_.note(store, change);
  if (change.carried) return;
  JsonWriter json;
  json.begin_object().field("kind", "file").field("store", StoreId(store));
  json.field("what", vfs::ChangeKindName(change.kind)).name_field("path", change.path);
  json.field("version", change.version).field("author", change.author);
  json.field("stamp", StampText(change.stamp)).field("size", change.size);
  events_.add(Members(json));
}

void Activity::memory_changed(const memory::MemoryChange& change) {
  JsonWriter json;
  json.begin_object().field("kind", "memory").field("what", NameOf(change.what));
  json.field("context", change.context);
  if (!change.topic.empty()) json.name_field("topic", change.topic);
  events_.add(Members(json));
}

void Activity::terminal_changed(std::string_view what, const server::TerminalSession& session) {
  JsonWriter json;
  json.begin_object().field("kind", "terminal").field("what", what);
  json.field("id", session.id()).field("name", session.name()).field("alive", session.alive());
  events_.add(Members(json));
}

}  // namespace mrb::workstation
