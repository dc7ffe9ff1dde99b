#include "memory/context/context_registry.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "common/parallel.h"
#include "common/text.h"
#include "memory/record/context_id.h"
#include "memory/record/store_format.h"
#include "platform/files.h"
#include "platform/paths.h"

namespace mrb::memory {

namespace {

constexpr std::size_t kListedPerThread = 1000;  // fewer are listed before a thread has started

ReadAccess NoContext() {
  static const ContextStore kNothing;
  return {nullptr, {}, &kNothing};
}

/// Two spellings of one folder are one context: where the system folds letter case, so do we.
std::string RegistryKey(std::string_view id) {
  return platform::PathSeparator() == '\\' ? LowerAscii(id) : std::string(id);
}

}  // namespace

ContextRegistry::ContextRegistry(platform::FileSystem& files, std::string contexts_folder,
                                 MemoryObserver changed)
    : files_(files), contexts_folder_(std::move(contexts_folder)), changed_(std::move(changed)) {}

void ContextRegistry::tell_moved(std::string_view id) const {
  if (changed_) {
    changed_({.context = id, .what = MemoryChange::What::kMoved, .topic = {}});
  }
}

std::shared_ptr<Context> ContextRegistry::find(std::string_view id, bool create) {
  const std::string key = RegistryKey(id);
  {
    const std::lock_guard lock(mutex_);
    if (const auto known = contexts_.find(key); known != contexts_.end()) return known->second;
  }
  // Names that nobody has written to must not pile up here.
  if (!create && !platform::Exists(files_, platform::JoinPath(contexts_folder_, id))) {
    return nullptr;
  }
  const std::lock_guard lock(mutex_);
  auto& context = contexts_[key];
  if (!context) {
    context = std::make_shared<Context>(files_, contexts_folder_, std::string(id), changed_);
  }
  return context;
}

Result<ReadAccess> ContextRegistry::read(std::string_view id) {
  if (const Status good = CheckContextId(id); !good) return std::unexpected(good.error());
  const auto context = find(id, false);
  if (!context) return NoContext();
  for (;;) {
    auto shared = context->share();
    if (const ContextStore* store = context->loaded()) {
      return ReadAccess{context, std::move(shared), store};
    }
    shared.unlock();
    const auto alone = context->own();
    if (const Status opened = context->open(false); !opened) {
      if (opened.error().kind == ErrorKind::kNotFound) return NoContext();
      return std::unexpected(opened.error());
    }
  }
}

Result<WriteAccess> ContextRegistry::write(std::string_view id) {
  if (const Status good = CheckContextId(id); !good) return std::unexpected(good.error());
  WriteAccess access;
  access.context = find(id, true);
  access.lock = access.context->own();
  if (const Status opened = access.context->open(true); !opened) {
    return std::unexpected(opened.error());
  }
  const auto store = access.context->writable_store();
  if (!store) return std::unexpected(store.error());
  access.store = *store;
  return access;
}

std::vector<std::string> ContextRegistry::loaded() {
  std::vector<std::shared_ptr<Context>> known;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [key, context] : contexts_) {
      known.push_back(context);
    }
  }
  std::vector<std::string> ids;
  for (const auto& context : known) {
    const auto shared = context->share();
    if (context->loaded() != nullptr) ids.push_back(context->id());
  }
  return ids;
}

std::strong_ordering ContextRegistry::compare(std::string_view a, std::string_view b) {
  return RegistryKey(a) <=> RegistryKey(b);
}

std::string ContextRegistry::folder(std::string_view id) const {
  return platform::JoinPath(contexts_folder_, id);
}

bool ContextRegistry::exists(std::string_view id) const {
  return platform::Exists(files_, folder(id));
}

ContextRegistry::Listed ContextRegistry::look_at(std::string id) {
  std::shared_ptr<Context> known;
  {
    const std::lock_guard lock(mutex_);
    const auto found = contexts_.find(RegistryKey(id));
    known = found == contexts_.end() ? nullptr : found->second;
  }
  Listed listed{.id = std::move(id)};
  if (known) {
    const auto shared = known->share();
    if (const ContextStore* store = known->loaded()) {
      listed.loaded = true;
      listed.topics = store->index().topics().size();
      listed.memos = store->index().memos().size();
      listed.bytes = store->heap().used();
      return listed;
    }
  }
  const std::string path = folder(listed.id);
  if (const auto store = files_.status(platform::JoinPath(path, kStoreFileName))) {
    listed.bytes = store->size;
  } else if (const auto old = files_.status(platform::JoinPath(path, kLegacyStoreFileName))) {
    listed.bytes = old->size;
    listed.legacy = true;
  }
  return listed;
}

Result<std::vector<ContextRegistry::Listed>> ContextRegistry::list() {
  std::vector<Listed> listed;
  auto entries = files_.list(contexts_folder_);
  if (!entries) {
    if (entries.error().kind == ErrorKind::kNotFound) return listed;
    return std::unexpected(entries.error());
  }
  std::erase_if(*entries, [](const platform::DirectoryEntry& entry) {
    return entry.type != platform::FileStatus::Type::kDirectory || entry.name.starts_with('.');
  });
  std::ranges::sort(*entries, {}, &platform::DirectoryEntry::name);
  listed.resize(entries->size());
  const std::size_t threads = std::clamp<std::size_t>(
      listed.size() / kListedPerThread, 1, std::max(1U, std::thread::hardware_concurrency()));
  RunParallel(threads, [&](std::size_t thread) {
    for (std::size_t i = thread; i < listed.size(); i += threads) {
      listed[i] = look_at(std::move((*entries)[i].name));
    }
  });
  return listed;
}

Status ContextRegistry::move_out(std::string_view id, const std::string& to) {
  if (const Status made = platform::MakeDirectories(files_, platform::ParentPath(to)); !made) {
    return made;
  }
  const auto context = find(id, true);
  const auto alone = context->own();
  const Status moved = context->move_to(to, {});
  if (moved) tell_moved(id);
  return moved;
}

Status ContextRegistry::rename(std::string_view id, std::string_view new_id) {
  const auto from = find(id, true);
  const auto to = find(new_id, true);
  const bool first = compare(id, new_id) < 0;
  const auto one = first ? from->own() : to->own();
  const auto other = first ? to->own() : from->own();
  if (platform::Exists(files_, to->folder())) return Fail(ErrorKind::kAlreadyExists, to->folder());
  to->evict();  // what is left of one whose folder someone took away
  const Status moved = from->move_to(to->folder(), [&] {
    return platform::ReplaceFile(files_, platform::JoinPath(to->folder(), kContextIdFileName),
                                 new_id);
  });
  if (moved) {
    tell_moved(id);
    tell_moved(new_id);
  }
  return moved;
}

Status ContextRegistry::move_in(const std::string& from, std::string_view id) {
  const auto context = find(id, true);
  const auto alone = context->own();
  if (platform::Exists(files_, context->folder())) {
    return Fail(ErrorKind::kAlreadyExists, context->folder());
  }
  context->evict();
  if (const Status moved = files_.rename_new(from, context->folder()); !moved) return moved;
  for (const std::string& parent : {contexts_folder_, platform::ParentPath(from)}) {
    if (const Status kept = files_.sync_directory(parent); !kept) {
      const Status back = files_.rename_new(context->folder(), from);
      return back ? kept : Fail(kept.error().kind, kept.error().text + "; " + back.error().text);
    }
  }
  tell_moved(id);
  return {};
}

Status ContextRegistry::check_writable(std::string_view id) {
  const auto access = read(id);
  if (!access) return std::unexpected(access.error());
  if (const Status allowed = access->store->writable(); !allowed) {
    return Fail(allowed.error().kind,
                "context '" + std::string(id) + "' cannot be written: " + allowed.error().text);
  }
  return {};
}

}  // namespace mrb::memory
