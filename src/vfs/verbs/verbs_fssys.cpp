// The verbs of fssys that are about a store.

#include <array>
#include <cstdio>

#include "common/answer.h"
#include "common/fnv1a.h"
#include "vfs/verbs/enroll_verbs.h"
#include "vfs/verbs/verb_call.h"

namespace mrb::vfs {
namespace {

std::string Dump(const VerbCall& call) {
  const auto chosen = ChosenStore(call);
  if (!chosen) return ErrorAnswer(chosen.error().text);
  const HeldStore store(*chosen, call.caller);
  const std::string image = store->tree()->writeImage();
  std::array<char, 24> checksum{};
  (void)std::snprintf(checksum.data(), checksum.size(), "%08lx",
                      static_cast<unsigned long>(Fnv1a32(image)));
  return OkAnswer("dump " + std::to_string(image.size()) + " bytes, checksum " + checksum.data());
}

/// One file's working bytes again as the disk has them, or a look at the whole tree.
std::string Reload(const VerbCall& call) {
  std::string path = call.args.text("path", 0);
  if (path.empty()) {
    const auto chosen = ChosenStore(call);
    if (!chosen) return ErrorAnswer(chosen.error().text);
    (*chosen)->reconcile();
    return OkAnswer("reloaded working copy of " + (*chosen)->disk_root());
  }
  const auto at = Locate(call, path);
  if (!at) return ErrorAnswer("no such file: " + path);
  const HeldStore store(at->store, call.caller);
  store->reconcile_file(at->path);
  File* file = store->find(at->path);
  if (file == nullptr || file->is_gone()) return ErrorAnswer("no such file: " + path);
  file->content = file->history.back().bytes;
  return OkAnswer("reloaded working copy of " + path);
}

/// Checks in every file whose working bytes a refused save left unsaved.
std::string Flush(const VerbCall& call) {
  const auto chosen = ChosenStore(call);
  if (!chosen) return ErrorAnswer(chosen.error().text);
  const HeldStore store(*chosen, call.caller);
  if (store->is_cache()) return OkAnswer("flushed 0 file(s) — writes go through at once");
  std::size_t flushed = 0;
  std::string refused;
  for (std::size_t i = 0; i < store->table().files().size(); ++i) {
    File& file = *store->table().files()[i];
    if (file.is_gone() || file.content.equals(file.history.back().bytes)) continue;
    if (store->check_in(&file, false)) {
      ++flushed;
    } else {
      refused += "\n  " + file.name + ": " + store->message();
    }
  }
  const std::string text = "flushed " + std::to_string(flushed) + " file(s)" + refused;
  return refused.empty() ? OkAnswer(text) : ErrorAnswer(text);
}

constexpr std::array kRows{
    VerbRow{"dump", "serialize snapshot", "fssys:dump [--store=dir]", false, &Dump},
    VerbRow{"reload", "", "fssys:reload [<path>] [--store=dir]", false, &Reload},
    VerbRow{"flush", "", "fssys:flush [--store=dir]", false, &Flush},
    VerbRow{"policy", "vcpolicy flags", "fssys:policy [flags] [--store=dir]", false, &ShowPolicy},
};

}  // namespace

const VerbFamily& FssysStoreVerbs() {
  static constexpr VerbFamily kFamily{"fssys", kRows, "(dump|reload|flush|policy)"};
  return kFamily;
}

}  // namespace mrb::vfs
