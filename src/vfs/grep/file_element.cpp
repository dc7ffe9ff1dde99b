#include "vfs/grep/file_element.h"

#include <algorithm>

#include "platform/paths.h"
#include "vfs/model/file_words.h"

namespace mrb::vfs {

FileElement::FileElement(const VersionStore& store) : path_(store.disk_root()) {
  const char separator = platform::PathSeparator();
  std::ranges::replace(path_, separator, '/');
  if (!path_.ends_with('/')) path_ += '/';
  root_size_ = path_.size();
}

std::string_view FileElement::path() const {
  path_.resize(root_size_);
  return path_.append(file_->path);
}

query::List FileElement::topics() const {
  topics_.clear();
  std::string_view rest = file_->path;
  for (std::size_t slash = rest.find('/'); slash != std::string_view::npos;
       slash = rest.find('/')) {
    topics_.push_back(rest.substr(0, slash));
    rest.remove_prefix(slash + 1);
  }
  return topics_;
}

void FileElement::add_words(std::string_view text) const {
  ForEachWord(text, [this](std::string_view word) {
    if (seen_.insert(word).second) keywords_.push_back(word);
    return true;
  });
}

query::List FileElement::keywords() const {
  keywords_.clear();
  seen_.clear();
  add_words(file_->path);
  add_words(text());
  return keywords_;
}

query::List FileElement::flags() const {
  flags_.clear();
  if (file_->is_deleted) flags_.emplace_back("deleted");
  if (file_->is_locked) flags_.emplace_back("locked");
  if (file_->needs_merge) flags_.emplace_back("dirty");
  return flags_;
}

}  // namespace mrb::vfs
