#include "vfs/model/file_table.h"

#include <algorithm>

#include "common/fnv1a.h"
#include "common/sort_tail.h"
#include "common/text.h"

namespace mrb::vfs {
namespace {

constexpr std::size_t kFirstSlots = 64;

const std::string& NameOf(const File* file) {
  return file->name;
}

}  // namespace

File* FileTable::find(std::string_view path) const {
  if (slots_.empty()) return nullptr;
  const std::uint32_t index = slots_[slot_of(path)];
  return index == 0 ? nullptr : files_[index - 1].get();
}

File& FileTable::add(std::string_view path) {
  if (File* known = find(path)) return *known;
  if ((files_.size() + 1) * 4 > slots_.size() * 3) grow();
  files_.push_back(std::make_unique<File>(std::string(path)));
  slots_[slot_of(path)] = static_cast<std::uint32_t>(files_.size());
  return *files_.back();
}

const std::vector<File*>& FileTable::in_order() const {
  const std::size_t known = order_.size();
  if (known == files_.size()) return order_;
  order_.reserve(files_.size());
  for (std::size_t i = known; i < files_.size(); ++i) order_.push_back(files_[i].get());
  SortTail(order_, known, NameOf);
  return order_;
}

std::span<File* const> FileTable::below(std::string_view folder) const {
  const std::span<File* const> all = in_order();
  if (folder.empty()) return all;
  const std::string first = std::string(folder) + '/';
  const std::string behind = std::string(folder) + static_cast<char>('/' + 1);
  const auto begin = std::ranges::lower_bound(all, first, {}, NameOf);
  return {begin, std::ranges::lower_bound(begin, all.end(), behind, {}, NameOf)};
}

void FileTable::respell(File& file, std::string_view name) {
  file.name = name;
  order_.clear();
}

std::uint64_t FileTable::hash_of(std::string_view path) const {
  return ignores_case() ? Fnv1a(LowerAscii(path)) : Fnv1a(path);
}

bool FileTable::same(std::string_view a, std::string_view b) const {
  return ignores_case() ? EqualsIgnoreCase(a, b) : a == b;
}

std::size_t FileTable::slot_of(std::string_view path) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = static_cast<std::size_t>(hash_of(path)) & mask;
  while (slots_[slot] != 0 && !same(files_[slots_[slot] - 1]->name, path)) slot = (slot + 1) & mask;
  return slot;
}

void FileTable::grow() {
  slots_.assign(slots_.empty() ? kFirstSlots : slots_.size() * 2, 0);
  for (std::size_t i = 0; i < files_.size(); ++i) {
    slots_[slot_of(files_[i]->name)] = static_cast<std::uint32_t>(i + 1);
  }
}

}  // namespace mrb::vfs
