// Enrolment: which directories are versioned, and how.

#include "vfs/verbs/enroll_verbs.h"

#include "common/answer.h"
#include "common/text.h"
#include "platform/paths.h"
#include "platform/tree_visitor.h"
#include "vfs/model/size_text.h"
#include "vfs/model/tree_path.h"
#include "vfs/verbs/enroll_report.h"

namespace mrb::vfs {
namespace {

constexpr std::uint64_t kGigabyte = std::uint64_t{1} << 30U;
constexpr std::uint64_t kFreeBesideTree = 4 * kGigabyte;
constexpr std::uint64_t kTightHeadroom = 8 * kGigabyte;

/// What a command asks for: a directory and flags, in this order or with the directory as a tag.
struct Request {
  std::string directory;  ///< as it was written
  std::string root;       ///< normal and absolute
  std::string flags;
  PolicyChange change;
};

/// Everything before the first flag is the directory: blanks in it need no quotes.
void SplitRequest(const VerbCall& call, Request& request) {
  std::size_t word = 0;
  const auto& words = call.args.words();
  if (const auto tagged = call.args.tag("path")) {
    request.directory = *tagged;
  } else {
    for (; word < words.size() && !IsPolicyFlag(words[word]); ++word) {
      request.directory += (request.directory.empty() ? "" : " ") + words[word];
    }
  }
  for (; word < words.size(); ++word) {
    request.flags += (request.flags.empty() ? "" : " ") + words[word];
  }
}

/// Adds up the files that a policy admits.
class SizeVisitor final : public platform::TreeVisitor {
 public:
  explicit SizeVisitor(const Policy& policy) : policy_(policy) {}
  bool enter(std::string_view folder) override {
    const std::size_t slash = folder.find_last_of('/') + 1;
    return folder.substr(slash) != ".git";
  }
  void file(std::string_view path, const platform::FileStatus& status) override {
    if (policy_.ext.admits(path, status.size)) bytes += status.size;
  }
  void skipped(std::string_view, Skipped) override {}

  std::uint64_t bytes = 0;

 private:
  const Policy& policy_;
};

bool IsDriveLetter(std::string_view root) {
  return root.size() >= 2 && root[1] == ':' && root.size() <= 3;
}

std::string RememberPolicy(const VerbCall& call, const std::string& root, const Policy& policy) {
  EnrollmentList& list = call.service.enrollments();
  if (list.put(root, policy)) return {};
  return "\n  WARNING: could not update " + list.path();
}

/// Changes the policy of a store that is enrolled. The answer's words behind the directory.
std::string ApplyChange(const VerbCall& call, const std::shared_ptr<VersionStore>& store,
                        const PolicyChange& change, std::string_view verb_text) {
  Policy policy;
  std::string message;
  std::size_t left = 0;
  {
    const HeldStore held(store, call.caller);
    policy = change.applied_to(held->policy());
    left = held->change_policy(policy);
    message = held->message();
  }
  std::string text =
      store->disk_root() + std::string(verb_text) + " — policy now [" + FormatPolicy(policy) + "]";
  if (left > 0) {
    text += "\n  " + std::to_string(left) +
            " file(s) left VC under the new rules (mirror history kept)";
  }
  if (!message.empty()) text += "\n  " + message;
  if (const Status followed = call.service.registry().follow_policy(store); !followed) {
    text += "\n  " + followed.error().text;
  }
  // What the new filters let in becomes known at once, not with the next look.
  if (!store->is_follower()) store->reconcile();
  return OkAnswer(text + RememberPolicy(call, store->disk_root(), policy));
}

/// Whether a change would stop the watcher without having been confirmed.
bool StopsWatcher(const PolicyChange& change, bool watches_now) {
  return change.watch == false && !change.confirms_watch_off && watches_now;
}

std::string Reenroll(const VerbCall& call, const Request& request,
                     const std::shared_ptr<VersionStore>& store) {
  Policy now;
  {
    const HeldStore held(store, call.caller);
    now = held->policy();
  }
  if (request.change.mode && *request.change.mode != now.mode) {
    return OtherMode(request.root, now.mode, *request.change.mode);
  }
  if (StopsWatcher(request.change, now.watch)) {
    return WatchOffWarning("Mirebolt EnrollVersionControl " + request.directory + " " +
                           request.flags);
  }
  call.service.registry().make_active(store);
  if (request.change.is_empty() || request.change.applied_to(now) == now) {
    return OkAnswer(request.root + " is already enrolled — policy unchanged");
  }
  return ApplyChange(call, store, request.change, " re-enrolled");
}

std::string EnrollCache(const VerbCall& call, EnrollReport report) {
  auto opened =
      call.service.registry().open(report.directory, report.policy, StoreCategory::kEnrolled);
  if (!opened) return ErrorAnswer("ingest failed");
  report.notes += RememberPolicy(call, report.directory, report.policy);
  return FormatCacheEnrolled(report);
}

std::string EnrollNew(const VerbCall& call, const Request& request) {
  EnrollReport report;
  report.directory = request.root;
  report.list_path = call.service.enrollments().path();
  Policy policy;
  policy.max_bytes = call.service.default_max_bytes();
  report.policy = request.change.applied_to(policy);
  if (StopsWatcher(request.change, true)) {
    return WatchOffWarning("Mirebolt EnrollVersionControl " + request.directory + " " +
                           request.flags);
  }
  if (IsDriveLetter(request.root) && !request.change.mode) {
    report.policy.mode = Policy::Mode::kCacheWriteThrough;
    report.notes +=
        "\n  note: whole-drive enrollment auto-selected mode=cachewt (cache write-through, no "
        "version)";
  }
  if (report.policy.mode == Policy::Mode::kCacheWriteThrough) return EnrollCache(call, report);

  SizeVisitor size(report.policy);
  if (!call.service.options().files->walk(request.root, size)) return ErrorAnswer("ingest failed");
  if (report.policy.max_bytes != 0 && size.bytes > report.policy.max_bytes) {
    return OverMaxSize(request.root, size.bytes, report.policy.max_bytes);
  }
  const std::uint64_t available = call.service.options().memory().available;
  if (available != 0 && available < size.bytes + kFreeBesideTree) {
    return OverMemory(request.root, size.bytes, available);
  }
  if (available != 0 && available - size.bytes < kTightHeadroom) {
    report.notes += "\n  note: this leaves ~" + RoundedSize(available - size.bytes) +
                    " of RAM headroom — the configuration is a little tight. Consider "
                    "mode=cachewt for a tree that you mostly read.";
  }
  // Files of it that were followed one by one share its mirror, and now its store.
  call.service.registry().close(request.root, StoreCategory::kSingleFiles);
  auto opened = call.service.registry().open(request.root, report.policy, StoreCategory::kEnrolled);
  if (!opened) return ErrorAnswer("ingest failed");
  report.found = std::move(opened->report);
  report.mirror_root = opened->store->mirror_root();
  report.watched = call.service.registry().is_watched(*opened->store);
  report.notes += RememberPolicy(call, request.root, report.policy);
  return FormatEnrolled(report);
}

bool IsOwnHome(const VerbCall& call, const std::string& root) {
  const auto home = NormalPath(call.service.options().data_home);
  return (home && BelowRoot(root, *home)) || root.ends_with(".mirebolt") ||
         root.find("/.mirebolt/") != std::string::npos ||
         root.find("\\.mirebolt\\") != std::string::npos;
}

bool IsDirectory(const VerbCall& call, const std::string& path) {
  const auto status = call.service.options().files->status(path);
  return status && status->type == platform::FileStatus::Type::kDirectory;
}

}  // namespace

std::string Enroll(const VerbCall& call) {
  Request request;
  SplitRequest(call, request);
  if (request.directory.empty()) {
    return ErrorAnswer("usage  Mirebolt EnrollVersionControl <directory> [flags]\n");
  }
  const auto root = PathOf(call.caller, request.directory);
  if (!root || !IsDirectory(call, *root)) {
    return ErrorAnswer("no such directory: " + request.directory);
  }
  request.root = *root;
  if (IsOwnHome(call, request.root)) {
    return ErrorAnswer("refusing to enroll the tool's own .mirebolt home");
  }
  auto change = ParsePolicy(request.flags);
  if (!change) return ErrorAnswer("bad policy: " + change.error().text);
  request.change = *std::move(change);
  const std::scoped_lock guard(call.service.enrolling());
  if (const auto store = call.service.registry().of_root(request.root)) {
    return Reenroll(call, request, store);
  }
  return EnrollNew(call, request);
}

std::string Unenroll(const VerbCall& call) {
  Request request;
  SplitRequest(call, request);
  const auto root = PathOf(call.caller, request.directory);
  if (!root) return ErrorAnswer("not enrolled: " + request.directory);
  const std::scoped_lock guard(call.service.enrolling());
  const bool open = call.service.registry().close(*root, StoreCategory::kEnrolled);
  const auto listed = call.service.enrollments().remove(*root);
  if (!listed) return ErrorAnswer(listed.error().text);
  if (!open && !*listed) return ErrorAnswer("not enrolled: " + request.directory);
  return OkAnswer("unenrolled " + *root + " (mirror history kept at " +
                  call.service.registry().mirror_root(*root) + ")");
}

std::string ShowPolicy(const VerbCall& call) {
  const auto store = ChosenStore(call);
  if (!store) return ErrorAnswer(store.error().text);
  std::string flags;
  for (const std::string& word : call.args.words()) flags += (flags.empty() ? "" : " ") + word;
  const auto change = ParsePolicy(flags);
  if (!change) return ErrorAnswer("bad policy: " + change.error().text);
  const std::scoped_lock guard(call.service.enrolling());
  Policy now;
  {
    const HeldStore held(*store, call.caller);
    now = held->policy();
  }
  if (change->is_empty() || change->applied_to(now) == now) {
    return OkAnswer((*store)->disk_root() + "  policy: [" + FormatPolicy(now) + "]");
  }
  if (const auto mode = change->mode; mode && *mode != now.mode) {
    return OtherMode((*store)->disk_root(), now.mode, *mode);
  }
  if (StopsWatcher(*change, now.watch)) return WatchOffWarning("fssys:policy " + flags);
  return ApplyChange(call, *store, *change, "");
}

}  // namespace mrb::vfs
