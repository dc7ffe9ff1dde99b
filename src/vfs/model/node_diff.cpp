#include "vfs/model/node_diff.h"

#include <utility>

#include "vfs/diff/directory_diff.h"

namespace mrb::vfs {
namespace {

std::string_view NewestBytes(const File& file) {
  return (file.history.empty() ? file.content : file.history.back().bytes).bytes();
}

/// A file's path below the folder that holds it. Names of files lead from the root of their store,
/// and a folder may be any part of that way.
std::string_view PathIn(const Directory& folder, std::string_view name) {
  const std::size_t slash = name.find_last_of('/');
  if (folder.name.empty() || slash == std::string_view::npos) return name;
  const std::string_view parent = name.substr(0, slash);
  if (!parent.ends_with(folder.name)) return name;
  const std::size_t rest = parent.size() - folder.name.size();
  return rest == 0 || parent[rest - 1] == '/' ? name.substr(slash + 1) : name;
}

/// The files at any depth. Not recursive: the depth of a tree is not ours to choose.
diff::TreeSide SideOf(const Directory& top, std::string_view root) {
  diff::TreeSide side{root, {}, {}};
  std::vector<std::pair<const Directory*, std::string>> open{{&top, ""}};
  while (!open.empty()) {
    const auto [folder, way] = std::move(open.back());
    open.pop_back();
    for (const auto& child : folder->children) {
      if (child->kind == iFileSystemObj::kDirectory) {
        open.emplace_back(static_cast<const Directory*>(child.get()), way + child->name + "/");
        continue;
      }
      const auto& file = static_cast<const File&>(*child);
      if (!file.history.empty() && file.is_gone()) continue;
      side.files.push_back(
          {way + std::string(PathIn(*folder, file.name)), file.version, NewestBytes(file)});
    }
  }
  return side;
}

}  // namespace

diff::MemoryCheck WithinMemory(std::function<platform::SystemMemory()> read) {
  return [read = std::move(read)](std::uint64_t bytes) {
    const platform::SystemMemory memory = read();
    return memory.total == 0 || bytes <= memory.available;
  };
}

std::string DiffFiles(const File& a, const File& b) {
  return diff::FileDiff({a.name, a.version, NewestBytes(a)}, {b.name, b.version, NewestBytes(b)},
                        WithinMemory(&platform::ReadSystemMemory));
}

std::string DiffDirectories(const Directory& a, std::string_view root_a, const Directory& b,
                            std::string_view root_b) {
  return diff::DirectoryDiff(SideOf(a, root_a), SideOf(b, root_b));
}

}  // namespace mrb::vfs
