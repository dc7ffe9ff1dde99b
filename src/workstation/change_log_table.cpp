#include "workstation/change_log_table.h"

namespace mrb::workstation {

std::uint64_t PackStamp(const VersionStamp& stamp) {
  std::uint64_t packed = stamp.year;
  for (const std::uint32_t part :
       {stamp.month, stamp.day, stamp.hour, stamp.minute, stamp.second}) {
    packed = packed * 100 + part;
  }
  return packed;
}

VersionStamp UnpackStamp(std::uint64_t packed) {
  const auto take = [&packed] {
    const auto part = static_cast<std::uint32_t>(packed % 100);
    packed /= 100;
    return part;
  };
  VersionStamp stamp;
  stamp.second = take();
  stamp.minute = take();
  stamp.hour = take();
  stamp.day = take();
  stamp.month = take();
  stamp.year = static_cast<std::uint32_t>(packed);
  return stamp;
}

std::uint32_t ChangeLogTable::number_of(std::string_view text) {
  const auto [entry, fresh] =
      numbers_.try_emplace(std::string(text), static_cast<std::uint32_t>(names_.size()));
  if (fresh) names_.push_back({.text = &entry->first});
  return entry->second;
}

void ChangeLogTable::add(const vfs::Change& change) {
  Line line{.stamp = PackStamp(change.stamp),
            .size = change.size,
            .version = change.version,
            .path = number_of(change.path),
            .author = number_of(change.author),
            .kind = change.kind,
            .carried = change.carried};
  names_[line.author].is_author = true;
  line.before = names_[line.path].newest;
  names_[line.path].newest = static_cast<std::uint32_t>(lines_.size());
  lines_.push_back(line);
}

std::uint32_t ChangeLogTable::newest_of(std::string_view path) const {
  const auto number = numbers_.find(std::string(path));
  return number == numbers_.end() ? kNone : names_[number->second].newest;
}

std::vector<std::string_view> ChangeLogTable::authors() const {
  std::vector<std::string_view> found;
  for (const Name& name : names_) {
    if (name.is_author) found.push_back(*name.text);
  }
  return found;
}

}  // namespace mrb::workstation
