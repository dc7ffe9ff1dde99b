#include "memory/context_registry.h"

#include <utility>

#include "common/text.h"
#include "memory/context_id.h"
#include "platform/paths.h"

namespace mrb::memory {

namespace {

ReadAccess no_context() {
  static const ContextStore kNothing;
  return {nullptr, {}, &kNothing};
}

/// Two spellings of one folder are one context: where the system folds letter case, so do we.
std::string registry_key(std::string_view id) {
  return platform::PathSeparator() == '\\' ? LowerAscii(id) : std::string(id);
}

}  // namespace

ContextRegistry::ContextRegistry(platform::FileSystem& files, std::string contexts_folder)
    : files_(files), contexts_folder_(std::move(contexts_folder)) {}

std::shared_ptr<Context> ContextRegistry::find(std::string_view id, bool create) {
  const std::string key = registry_key(id);
  {
    const std::lock_guard lock(mutex_);
    if (const auto known = contexts_.find(key); known != contexts_.end()) {
      return known->second;
    }
  }
  // Names that nobody has written to must not pile up here.
  if (!create && !platform::Exists(files_, platform::JoinPath(contexts_folder_, id))) {
    return nullptr;
  }
  const std::lock_guard lock(mutex_);
  auto& context = contexts_[key];
  if (!context) {
    context = std::make_shared<Context>(files_, contexts_folder_, std::string(id));
  }
  return context;
}

Result<ReadAccess> ContextRegistry::read(std::string_view id) {
  if (const Status good = CheckContextId(id); !good) {
    return std::unexpected(good.error());
  }
  const auto context = find(id, false);
  if (!context) {
    return no_context();
  }
  for (;;) {
    auto shared = context->share();
    if (const ContextStore* store = context->loaded()) {
      return ReadAccess{context, std::move(shared), store};
    }
    shared.unlock();
    const auto alone = context->own();
    if (const Status opened = context->open(false); !opened) {
      if (opened.error().kind == ErrorKind::kNotFound) {
        return no_context();
      }
      return std::unexpected(opened.error());
    }
  }
}

Result<WriteAccess> ContextRegistry::write(std::string_view id) {
  if (const Status good = CheckContextId(id); !good) {
    return std::unexpected(good.error());
  }
  WriteAccess access;
  access.context = find(id, true);
  access.lock = access.context->own();
  if (const Status opened = access.context->open(true); !opened) {
    return std::unexpected(opened.error());
  }
  const auto store = access.context->writable_store();
  if (!store) {
    return std::unexpected(store.error());
  }
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
    if (context->loaded() != nullptr) {
      ids.push_back(context->id());
    }
  }
  return ids;
}

Status ContextRegistry::check_writable(std::string_view id) {
  const auto access = read(id);
  if (!access) {
    return std::unexpected(access.error());
  }
  if (const Status allowed = access->store->writable(); !allowed) {
    return Fail(allowed.error().kind,
                "context '" + std::string(id) + "' cannot be written: " + allowed.error().text);
  }
  return {};
}

}  // namespace mrb::memory
