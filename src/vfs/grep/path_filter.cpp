#include "vfs/grep/path_filter.h"

#include <algorithm>
#include <optional>

#include "platform/paths.h"
#include "vfs/model/reserved_names.h"
#include "vfs/model/tree_path.h"
#include "vfs/query/glob.h"

namespace mrb::vfs {
namespace {

/// A folder, "" for the root, fits everything in it.
bool Fits(std::string_view glob, std::string_view path) {
  return glob.empty() || FitsPathOrName(glob, path) ||
         query::Matches(std::string(glob) + "/*", path);
}

bool FitsAny(std::string_view glob, const StoreSnapshot& snapshot) {
  return std::ranges::any_of(snapshot.files, [&](const SnapshotFile& file) {
    return !file.is_deleted && Fits(glob, file.path);
  });
}

std::optional<std::string> BelowOf(std::string_view path, const std::string& root) {
  const auto normal = NormalPath(path);
  return normal ? BelowRoot(*normal, root) : std::nullopt;
}

}  // namespace

bool FitsPathOrName(std::string_view glob, std::string_view path) {
  return query::Matches(glob, path) ||
         (!glob.contains('/') && query::Matches(glob, BaseName(path)));
}

PathFilter::PathFilter(const StoreSnapshot& snapshot, const Words& words, std::string_view cwd)
    : words_(words) {
  const std::string& root = snapshot.store->disk_root();
  for (const std::string& word : words.paths) {
    std::optional<std::string>& glob = globs_.emplace_back();
    if (IsAbsolutePath(word)) {
      glob = BelowOf(word, root);
      continue;
    }
    if (!cwd.empty()) glob = BelowOf(platform::JoinPath(cwd, word), root);
    if (!glob || !FitsAny(*glob, snapshot)) glob = NormalRelative(word);
  }
}

bool PathFilter::admits(std::string_view path) const {
  const auto fits = [path](const std::string& glob) { return FitsPathOrName(glob, path); };
  const auto fits_word = [path](const std::optional<std::string>& glob) {
    return glob && Fits(*glob, path);
  };
  if (!globs_.empty() && std::ranges::none_of(globs_, fits_word)) return false;
  if (!words_.include.empty() && std::ranges::none_of(words_.include, fits)) return false;
  return std::ranges::none_of(words_.exclude, fits);
}

std::vector<std::string> PathFilter::unfit(const StoreSnapshot& snapshot) const {
  std::vector<std::string> words;
  for (std::size_t i = 0; i < globs_.size(); ++i) {
    const std::optional<std::string>& glob = globs_[i];
    if (!glob || !FitsAny(*glob, snapshot)) words.push_back(words_.paths[i]);
  }
  return words;
}

}  // namespace mrb::vfs
