// Locks, held by authors.

#include <array>

#include "common/answer.h"
#include "common/text.h"
#include "vfs/verbs/verb_call.h"

namespace mrb::vfs {
namespace {

/// A file that can be locked: one that there is.
const File* Node(const HeldStore& store, const StorePath& at) {
  const File* file = store->find(at.path);
  return file != nullptr && (store->is_cache() || !file->history.empty()) ? file : nullptr;
}

std::string NoNode(const std::string& path) {
  return ErrorAnswer("no such node: " + path);
}

/// One lock verb for a file that is there, its store held.
using OnNode = std::string (*)(const VerbCall& call, const HeldStore& store, const File& file,
                               const std::string& path);

template <OnNode kRun>
std::string WithNode(const VerbCall& call) {
  std::string path = call.args.text("path", 0);
  const auto at = Locate(call, path);
  if (!at) return NoNode(path);
  const HeldStore store(at->store, call.caller);
  const File* file = Node(store, *at);
  return file == nullptr ? NoNode(path) : kRun(call, store, *file, path);
}

std::string Report(const VerbCall&, const HeldStore& store, const File& file,
                   const std::string& path) {
  std::string text = path;
  const std::string holder = store->locks().holder(file.name);
  if (!holder.empty()) text += "  LOCKED by " + holder;
  if (const auto queue = store->locks().queue(file.name); !queue.empty()) {
    text += "  (queued: " + Join(queue, ", ") + ")";
  }
  if (store->locks().is_flagged(file.name)) text += "  [merge required]";
  return OkAnswer(text);
}

std::string Toggle(const VerbCall& call, const HeldStore& store, const File& file,
                   const std::string& path) {
  if (call.verb == "unlock" && store->locks().holder(file.name).empty()) {
    return OkAnswer("unlocked " + path + " (it was not locked)");
  }
  const auto locked = store->toggle_lock(file);
  if (!locked) return Failure(*store);
  return OkAnswer((*locked ? "locked " : "unlocked ") + path);
}

std::string HandOver(const VerbCall& call, const HeldStore& store, const File& file,
                     const std::string& path) {
  const std::string seat = call.args.text("toSeat", 1);
  store->locks().transfer(file.name, seat);
  return OkAnswer("transferred lock on " + path + " to " + seat);
}

/// Without a seat the usage is the answer, whatever the path.
std::string Transfer(const VerbCall& call) {
  const bool complete = !call.args.text("path", 0).empty() && !call.args.text("toSeat", 1).empty();
  return complete ? WithNode<&HandOver>(call) : UsageOf(FslockVerbs(), call.verb);
}

std::string Merged(const VerbCall& call, const HeldStore& store, const File& file,
                   const std::string& path) {
  const std::string holder = store->locks().holder(file.name);
  if (holder != call.caller.author) {
    return ErrorAnswer(holder.empty() ? path + " is not locked — lock it, merge, then say merged"
                                      : "file is locked (" + holder + ")");
  }
  store->locks().clear_flag(file.name);
  return OkAnswer("merged " + path);
}

constexpr std::array kRows{
    VerbRow{"status", "state check who", "fslock:status <path>", true, &WithNode<&Report>},
    VerbRow{"toggle", "lock unlock", "fslock:toggle <path>", true, &WithNode<&Toggle>},
    VerbRow{"transfer", "", "fslock:transfer <path> <toSeat>", true, &Transfer},
    VerbRow{"merged", "", "fslock:merged <path>", true, &WithNode<&Merged>},
};

}  // namespace

const VerbFamily& FslockVerbs() {
  static constexpr VerbFamily kFamily{"fslock", kRows, "(status|toggle|transfer)"};
  return kFamily;
}

}  // namespace mrb::vfs
