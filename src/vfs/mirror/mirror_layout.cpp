#include "vfs/mirror/mirror_layout.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "common/fnv1a.h"
#include "common/text.h"
#include "platform/paths.h"
#include "vfs/model/reserved_names.h"

namespace mrb::vfs {
namespace {

constexpr std::string_view kArchiveSuffix = ".oldversions";
constexpr std::string_view kTombstoneSuffix = ".tombstone";
constexpr std::string_view kTemporarySuffix = ".tmp$";
constexpr std::string_view kNumberMark = ".xx";

// File systems end a name at 255 bytes; the longest decoration is "." + name + ".oldversions", and
// inside that folder name + ".xx" + ten digits.
constexpr std::size_t kMaxName = 240;
constexpr std::size_t kKeptOfLongName = 200;

constexpr std::size_t kMaxKey = 40;
constexpr std::size_t kKeptOfLongKey = 24;

std::string Hex8(std::uint32_t value) {
  std::array<char, 9> text{};
  (void)std::snprintf(text.data(), text.size(), "%08x", value);
  return text.data();
}

std::string_view FolderWithSlash(std::string_view path) {
  return path.substr(0, path.find_last_of('/') + 1);
}

std::string_view NameOf(std::string_view path) {
  return path.substr(path.find_last_of('/') + 1);
}

std::string ShortName(std::string_view name) {
  if (name.size() <= kMaxName) return std::string(name);
  return std::string(CutUtf8(name, kKeptOfLongName)) + "_" + Hex8(Fnv1a32(name));
}

bool IsPlain(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' ||
         c == '.' || c == '_';
}

bool IsSeparator(char c) {
  return c == '/' || c == '\\';
}

std::string Sanitised(std::string_view text) {
  std::string plain(text);
  std::ranges::replace_if(plain, [](char c) { return !IsPlain(c); }, '_');
  return plain;
}

std::string WithoutSuffix(std::string_view text, std::string_view suffix) {
  return std::string(text.substr(0, text.size() - suffix.size()));
}

}  // namespace

bool MirrorLayout::is_unmirrored(std::string_view path) {
  return BaseName(path).starts_with("turnlog-");
}

std::string MirrorLayout::key(std::string_view path) {
  return std::string(FolderWithSlash(path)) + ShortName(NameOf(path));
}

std::string MirrorLayout::under_root(std::string_view relative) const {
  return platform::JoinPath(root_, platform::NativePath(relative));
}

std::string MirrorLayout::copy(std::string_view path) const {
  return under_root(key(path));
}

std::string MirrorLayout::copy_beside_folder(std::string_view path) const {
  return platform::JoinPath(archive_folder(path), ShortName(NameOf(path)));
}

std::string MirrorLayout::temporary(std::string_view path) const {
  return copy(path).append(kTemporarySuffix);
}

std::string MirrorLayout::tombstone(std::string_view path) const {
  return copy(path).append(kTombstoneSuffix);
}

std::string MirrorLayout::archive_folder(std::string_view path) const {
  std::string folder(FolderWithSlash(path));
  folder.append(".").append(ShortName(NameOf(path))).append(kArchiveSuffix);
  return under_root(folder);
}

std::string MirrorLayout::archive(std::string_view path, std::uint32_t number) const {
  return platform::JoinPath(
      archive_folder(path),
      ShortName(NameOf(path)).append(kNumberMark).append(std::to_string(number)));
}

std::string MirrorLayout::bookkeeping_folder() const {
  return under_root(kArchiveSuffix);
}

std::string MirrorLayout::journal() const {
  return platform::JoinPath(bookkeeping_folder(), "journal.jsonl");
}

std::string MirrorLayout::owner_note() const {
  return platform::JoinPath(bookkeeping_folder(), "root");
}

std::string MirrorLayout::filling_mark() const {
  return platform::JoinPath(bookkeeping_folder(), "filling");
}

std::string MirrorLayout::stat_cache() const {
  return platform::JoinPath(bookkeeping_folder(), "looks");
}

MirrorEntry ClassifyMirrorFile(std::string_view relative) {
  using Kind = MirrorEntry::Kind;
  const std::string_view name = NameOf(relative);
  if (name.empty() || name == kTombstoneSuffix) return {};
  if (const std::string_view folder = FolderWithSlash(relative);
      folder.ends_with(std::string(kArchiveSuffix) + "/")) {
    const std::string_view folder_path = folder.substr(0, folder.size() - 1);
    const std::string_view archive = NameOf(folder_path);
    if (archive == "." + std::string(name) + std::string(kArchiveSuffix)) {
      return {Kind::kCopy, std::string(FolderWithSlash(folder_path)).append(name), 0};
    }
    const auto mark = name.rfind(kNumberMark);
    if (mark == std::string_view::npos) return {};
    const std::string owner(name.substr(0, mark));
    const auto number = ParseDecimal(name.substr(mark + kNumberMark.size()));
    if (owner.empty() || archive != "." + owner + std::string(kArchiveSuffix)) return {};
    if (!number || *number == 0 || *number > UINT32_MAX) return {};
    return {Kind::kArchive, std::string(FolderWithSlash(folder_path)) + owner,
            static_cast<std::uint32_t>(*number)};
  }
  if (HasReservedPart(FolderWithSlash(relative))) return {};
  if (name.ends_with(kTombstoneSuffix)) {
    return {Kind::kTombstone, WithoutSuffix(relative, kTombstoneSuffix), 0};
  }
  if (IsReservedName(name)) return {};
  return {Kind::kCopy, std::string(relative), 0};
}

std::string TemporaryBeside(const std::string& path) {
  const std::size_t name = path.size() - BaseName(path).size();
  return path.substr(0, name).append(ShortName(path.substr(name))).append(kTemporarySuffix);
}

std::string MirrorKey(std::string_view disk_root, std::string_view executable_folder) {
  const std::size_t prefix = executable_folder.size();
  if (prefix > 0 && disk_root.size() > prefix + 1 && IsSeparator(disk_root[prefix]) &&
      EqualsIgnoreCase(disk_root.substr(0, prefix), executable_folder)) {
    return std::string(disk_root.substr(prefix + 1));
  }
  std::string key = Sanitised(disk_root);
  if (key.size() <= kMaxKey) return key;
  key.resize(kKeptOfLongKey);
  return key + "_" + Hex8(Fnv1a32(disk_root));
}

std::string DistinctMirrorKey(std::string_view disk_root) {
  return Sanitised(disk_root).substr(0, kKeptOfLongKey) + "_" + Hex8(Fnv1a32(disk_root));
}

}  // namespace mrb::vfs
