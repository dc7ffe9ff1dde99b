#include "vfs/verbs/enroll_report.h"

#include <algorithm>
#include <vector>

#include "common/answer.h"
#include "common/text.h"
#include "vfs/model/size_text.h"

namespace mrb::vfs {
namespace {

constexpr std::size_t kShownExtensions = 8;
constexpr std::size_t kShownFolders = 8;

std::string Excluded(const IngestReport& found) {
  if (found.excluded_files == 0) {
    return "\n  NOT source controlled: nothing — every walked file was admitted";
  }
  std::string text = "\n  NOT source controlled: " + std::to_string(found.excluded_files) +
                     " file(s), " + RoundedSize(found.excluded_bytes) +
                     " — excluded by the ext policy:";
  std::vector<std::pair<std::string, std::uint64_t>> kinds(found.excluded_by_extension.begin(),
                                                           found.excluded_by_extension.end());
  // The most frequent first, then by name.
  std::ranges::sort(kinds, [](const auto& a, const auto& b) {
    return a.second != b.second ? a.second > b.second : a.first < b.first;
  });
  for (std::size_t i = 0; i < std::min(kinds.size(), kShownExtensions); ++i) {
    const bool plain = kinds[i].first.starts_with('(');
    text += "\n    - " + std::string(plain ? "" : ".") + kinds[i].first + " (" +
            std::to_string(kinds[i].second) + ")";
  }
  if (kinds.size() > kShownExtensions) {
    text += "\n    … +" + std::to_string(kinds.size() - kShownExtensions) +
            " more (re-enroll with ext= flags — the ⚙ rules — to include them)";
  }
  return text;
}

/// What no filter is to blame for.
std::string LeftOut(const IngestReport& found) {
  std::vector<std::string> parts;
  for (std::size_t i = 0; i < std::min(found.pruned.size(), kShownFolders); ++i) {
    parts.push_back(found.pruned[i] + "/");
  }
  if (found.pruned.size() > kShownFolders) {
    parts.push_back(std::to_string(found.pruned.size() - kShownFolders) + " more such folder(s)");
  }
  if (found.links > 0) parts.push_back(std::to_string(found.links) + " link(s)");
  if (found.special_files > 0) {
    parts.push_back(std::to_string(found.special_files) + " device(s), pipe(s) or socket(s)");
  }
  if (!found.unreadable.empty()) {
    parts.push_back(std::to_string(found.unreadable.size()) + " unreadable, such as " +
                    found.unreadable.front());
  }
  return parts.empty() ? std::string() : "\n  left out: " + Join(parts, ", ");
}

}  // namespace

std::string FormatEnrolled(const EnrollReport& report) {
  const IngestReport& found = report.found;
  std::string text = "enrolled " + report.directory + " — " + std::to_string(found.files) +
                     " file(s) ingested (" + RoundedSize(found.current_bytes) + "), " +
                     (report.watched        ? "watching for changes"
                      : report.policy.watch ? "NOT watching (another process does)"
                                            : "NOT watching (watch=off)");
  text += "\n  policy: [" + FormatPolicy(report.policy) + "]";
  text += "\n  versioned data: " + RoundedSize(found.current_bytes + found.history_bytes) +
          " (current " + RoundedSize(found.current_bytes) + " + history " +
          RoundedSize(found.history_bytes) + ")";
  text += Excluded(found) + LeftOut(found);
  text += "\n  data kept at: " + report.mirror_root +
          "\n    each file's newest bytes under its own path, older versions in "
          ".<name>.oldversions, deleted files as <name>.tombstone";
  text +=
      "\n  listed in: " + report.list_path + " — every spawn re-enrolls this list automatically";
  return OkAnswer(text + report.notes);
}

std::string FormatCacheEnrolled(const EnrollReport& report) {
  return OkAnswer(
      "cache write-through (no version) enrolled " + report.directory +
      "\n  nothing is ingested: a file joins the RAM cache the moment its contents are looked at "
      "or "
      "used through an approved verb,\n  writes go straight to the real file, and when free RAM "
      "drops under 8 GB the oldest-recency cache entries are dumped\n  until 10 GB is free again; "
      "version-controlled stores are never evicted\n  policy: [" +
      FormatPolicy(report.policy) + "]\n  listed in: " + report.list_path +
      " — every spawn re-enrolls this list automatically" + report.notes);
}

std::string WatchOffWarning(const std::string& again) {
  return ErrorAnswer(
      "watch=off requested but NOT applied — this needs an explicit second confirmation.\n  With "
      "the watcher off, edits made outside Mirebolt's own write verbs (an editor, a build script, "
      "git)\n  become invisible to version control and are normally unrecoverable.\n  If that is "
      "what you want, say it again with the confirmation:\n    " +
      again + " confirm=watchoff");
}

std::string OverMaxSize(const std::string& directory, std::uint64_t size, std::uint64_t limit) {
  return ErrorAnswer(directory + " is " + RoundedSize(size) + " — over the max repo size " +
                     FormatSize(limit) +
                     ".\n  Raise it for this repo:  Mirebolt EnrollVersionControl " + directory +
                     " max=<size>   (e.g. max=1gb, max=0 = unlimited)\n  Or change the default:   "
                     "set vc.maxreposize in .mirebolt\\config\\mirebolt.cfg");
}

std::string OverMemory(const std::string& directory, std::uint64_t size, std::uint64_t available) {
  return ErrorAnswer(
      "enrolling " + directory + " in cached (RAM) VC needs ~" + RoundedSize(size) +
      " of RAM but only " + RoundedSize(available) +
      " is free — the tree must be at least 4 GB\n  smaller than your free RAM. Free up memory, or "
      "enroll it as the non-cached\n  fallback (caches on access, writes through to disk, evicts "
      "under pressure):\n    Mirebolt EnrollVersionControl " +
      directory + " mode=cachewt");
}

std::string OtherMode(const std::string& directory, Policy::Mode now, Policy::Mode wanted) {
  const bool cache = now == Policy::Mode::kCacheWriteThrough;
  return ErrorAnswer(
      directory + " is already enrolled as " +
      (cache ? "cache-based VC (mode=cachewt)" : "versioned VC (mode=vc)") +
      ".\n  A directory uses one mode at a time and modes are not switched in place.\n  To change "
      "it: UNENROLL this directory (VC panel -> remove, or the unenroll\n  verb), then re-enroll "
      "with mode=" +
      std::string(ModeName(wanted)) +
      ".\n  (Tip: use different directories for cache-based vs versioned VC.)");
}

}  // namespace mrb::vfs
