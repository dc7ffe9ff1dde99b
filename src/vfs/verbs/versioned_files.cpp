#include "vfs/verbs/versioned_files.h"

#include "common/answer.h"
#include "common/json_scan.h"
#include "common/text.h"
#include "platform/config_file.h"
#include "platform/paths.h"
#include "vfs/model/reserved_names.h"
#include "vfs/model/size_text.h"
#include "vfs/model/tree_path.h"

namespace mrb::vfs {
namespace {

using platform::JoinPath;

std::string ConfigPath(const VfsOptions& options, std::string_view name) {
  return JoinPath(JoinPath(options.data_home, "config"), name);
}

StoreRegistry::Options RegistryOptions(const VfsOptions& options) {
  return {.files = options.files,
          .data_home = NormalPath(options.data_home).value_or(options.data_home),
          .executable_folder = options.executable_folder,
          .outside_author = options.outside_author,
          .warn = options.print,
          .changed = options.changed};
}

}  // namespace

VersionedFiles::VersionedFiles(VfsOptions options)
    : options_(std::move(options)),
      enrollments_(*options_.files, ConfigPath(options_, "versioncontroldirs.cfg")),
      watched_(*options_.files, ConfigPath(options_, "watchedfiles.cfg")),
      registry_(RegistryOptions(options_)),
      cache_(options_.cache, options_.memory) {}

VersionedFiles::~VersionedFiles() {
  if (loader_.joinable()) loader_.join();
}

void VersionedFiles::print(const std::string& text) const {
  if (options_.print) options_.print(text);
}

void VersionedFiles::start() {
  loader_ = std::thread([this] { load(); });
}

std::uint64_t VersionedFiles::default_max_bytes() const {
  const auto set =
      platform::ReadSetting(*options_.files, options_.settings_files, "vc.maxreposize");
  if (!set) return Policy::kDefaultMaxBytes;
  const auto size = ParseSize(*set);
  if (size) return *size;
  print("warning: vc.maxreposize = " + *set + " is no size\n");
  return Policy::kDefaultMaxBytes;
}

void VersionedFiles::load() {
  const std::scoped_lock guard(loading_);
  if (loaded_) return;
  loaded_ = true;
  const auto listed = enrollments_.read();
  if (!listed) print("warning: " + listed.error().text + "\n");
  if (listed) {
    for (const std::string& warning : listed->warnings) print("warning: " + warning + "\n");
    const std::size_t count = listed->entries.size();
    print("[vc] caching " + std::to_string(count) +
          (count == 1 ? " enrolled directory...\n" : " enrolled directories...\n"));
    for (std::size_t i = 0; i < count; ++i) load_directory(listed->entries[i], i + 1, count);
  }
  load_watched_files();
  load_workflow_scripts();
  replay_checkouts();
  print("[vc] version control ready.\n");
}

void VersionedFiles::load_directory(const EnrollmentList::Entry& entry, std::size_t number,
                                    std::size_t count) {
  const std::string line = "[vc] (" + std::to_string(number) + "/" + std::to_string(count) +
                           ") caching " + entry.directory + " ...";
  if (registry_.of_root(entry.directory)) return print(line + " already cached\n");
  const auto status = options_.files->status(entry.directory);
  if (!status || status->type != platform::FileStatus::Type::kDirectory) {
    print(line + "\n");
    return print("[vc]     skipped " + entry.directory + " (no such directory)\n");
  }
  VersionStore::Progress progress;
  std::mutex printing;
  if (options_.print_is_console) {
    print(line);
    progress = [&](std::uint64_t done, std::uint64_t all) {
      const std::scoped_lock guard(printing);
      print("\r" + line + " " + std::to_string(done) + "/" + std::to_string(all));
    };
  }
  Policy policy;
  policy.max_bytes = default_max_bytes();
  const auto opened = registry_.open(entry.directory, entry.policy.applied_to(policy),
                                     StoreCategory::kEnrolled, progress);
  // What the progress wrote is longer than nothing: the line is written anew, and cleared behind.
  const std::string start = options_.print_is_console ? "\r" + line : line;
  const std::string end = options_.print_is_console ? "\x1b[K\n" : "\n";
  if (!opened) {
    print(start + " -> ingest failed" + end);
    return print("[vc]     " + opened.error().text + "\n");
  }
  print(start + " -> cached (" + std::to_string(opened->report.files) + " file(s))" + end);
}

void VersionedFiles::load_watched_files() {
  const auto watched = watched_.read();
  if (!watched) return print("warning: " + watched.error().text + "\n");
  for (const std::string& path : *watched) {
    const auto at = registry_.resolve(path, {});
    if (at && at->store->category() != StoreCategory::kSingleFiles) continue;
    const std::string folder = platform::ParentPath(path);
    const auto status = options_.files->status(folder);
    if (!status || status->type != platform::FileStatus::Type::kDirectory) continue;
    const auto store = registry_.open_folder(folder);
    Status followed = store ? (*store)->follow_file(std::string(BaseName(path)))
                            : Status(std::unexpected(store.error()));
    if (!followed) print("warning: " + followed.error().text + "\n");
  }
}

/// Folders where an assistant keeps the scripts that it wrote for itself.
void VersionedFiles::load_workflow_scripts() {
  if (options_.user_profile.empty()) return;
  const std::string projects = JoinPath(JoinPath(options_.user_profile, ".claude"), "projects");
  const auto entries = options_.files->list(projects);
  if (!entries) return;
  std::size_t found = 0;
  std::size_t enrolled = 0;
  for (const platform::DirectoryEntry& entry : *entries) {
    const std::string folder =
        JoinPath(JoinPath(JoinPath(projects, entry.name), "workflows"), "scripts");
    const auto status = options_.files->status(folder);
    if (!status || status->type != platform::FileStatus::Type::kDirectory) continue;
    const auto home = NormalPath(options_.data_home);
    if (home && BelowRoot(folder, *home)) {
      print("[vc-config] skipped " + folder +
            " (inside Mirebolt's own home — never a candidate)\n");
      continue;
    }
    ++found;
    if (registry_.of_root(folder)) continue;
    if (registry_.open(folder, Policy(), StoreCategory::kConfiguration)) ++enrolled;
  }
  if (found == 0) return;
  print("[vc-config] " + std::to_string(found) + " workflow-scripts dir(s) found, " +
        std::to_string(enrolled) + " newly enrolled this pass\n");
}

/// Gives locks back to the seats that held them, from a file of one JSON object a line.
void VersionedFiles::replay_checkouts() {
  const auto text =
      platform::ReadFile(*options_.files, JoinPath(options_.data_home, "checkouts.jsonl"));
  if (!text) return;
  for (const std::string_view line : Split(*text, '\n')) {
    const auto document = JsonDocument::scan(line);
    if (!document) continue;
    const std::string seat = document->root().find("leafId").text();
    const std::string path = document->root().find("path").text();
    if (seat.empty() || path.empty() || hand_lock(path, seat)) continue;
    print("[vc] checkout of " + path + ": " + ErrorAnswer("no such node: " + path) + "\n");
  }
}

/// False when there is no such file.
bool VersionedFiles::hand_lock(const std::string& path, const std::string& seat) {
  const auto at = registry_.resolve(path, {});
  if (!at) return false;
  const VersionStore::Lock guard = at->store->lock();
  const File* file = at->store->find(at->path);
  if (file == nullptr || (!at->store->is_cache() && file->history.empty())) return false;
  at->store->locks().transfer(file->name, seat);
  return true;
}

}  // namespace mrb::vfs
