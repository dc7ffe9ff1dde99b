#include "vfs/model/nodes.h"

#include <algorithm>
#include <ranges>

#include "platform/shell_files.h"
#include "vfs/model/node_diff.h"
#include "vfs/model/node_image.h"

namespace mrb {

std::unique_ptr<iFileSystemObj> File::clone() const {
  auto copy = std::make_unique<File>(name);
  copy->version = version;
  copy->author = author;
  copy->stamp = stamp;
  copy->content = content;
  copy->history = history;
  return copy;
}

std::string File::diffAgainst(const iFileSystemObj& other) const {
  if (other.kind != kFile) return std::string(diff::kNotAFile);
  return vfs::DiffFiles(*this, static_cast<const File&>(other));
}

int File::copyTo(const std::string& destination) const {
  return platform::ShellCopyFile(name, destination);
}

int File::removeFrom() const {
  return platform::ShellRemoveFile(name);
}

std::string File::writeImage() const {
  std::string image;
  vfs::AppendFileImage(image, *this);
  return image;
}

const VersionRecord* File::newest_content() const {
  for (const VersionRecord& record : history | std::views::reverse) {
    if (!record.tombstone) return &record;
  }
  return nullptr;
}

const VersionRecord* File::find_version(std::uint32_t wanted) const {
  const auto found = std::ranges::find(history, wanted, &VersionRecord::version);
  return found == history.end() ? nullptr : &*found;
}

void File::follow_history() {
  version = history.empty() ? 0 : history.back().version;
  author = history.empty() ? AuthorName() : history.back().author;
  stamp = history.empty() ? VersionStamp() : history.back().stamp;
}

std::unique_ptr<iFileSystemObj> Directory::clone() const {
  auto copy = std::make_unique<Directory>(name);
  for (const auto& child : children) copy->children.push_back(child->clone());
  return copy;
}

std::uint32_t Directory::latestVersion() const {
  std::uint32_t latest = 0;
  for (const auto& child : children) latest = std::max(latest, child->latestVersion());
  return latest;
}

std::string Directory::diffAgainst(const iFileSystemObj& other) const {
  if (other.kind != kDirectory) return std::string(diff::kNotAFile);
  return vfs::DiffDirectories(*this, name, static_cast<const Directory&>(other), other.name);
}

int Directory::copyTo(const std::string& destination) const {
  return platform::ShellCopyTree(name, destination);
}

int Directory::removeFrom() const {
  return platform::ShellRemoveTree(name);
}

std::string Directory::writeImage() const {
  std::string image;
  vfs::AppendNodeHead(image, *this);
  vfs::AppendU32(image, static_cast<std::uint32_t>(children.size()));
  for (const auto& child : children) image += child->writeImage();
  return image;
}

}  // namespace mrb
