#include "vfs/mirror/stat_cache.h"

#include <span>

#include "common/binary_fields.h"
#include "vfs/model/blob.h"

namespace mrb::vfs {
namespace {

constexpr std::string_view kMagic = "MBSTAT1\n";

void PutStatus(std::string& bytes, const platform::FileStatus& status) {
  PutWord(bytes, status.size);
  PutWord(bytes, static_cast<std::uint64_t>(status.modified_ns));
  PutWord(bytes, static_cast<std::uint64_t>(status.changed_ns));
  PutWord(bytes, status.file_id);
}

platform::FileStatus TakeStatus(FieldReader& reader) {
  platform::FileStatus status;
  status.type = platform::FileStatus::Type::kFile;
  status.size = reader.word<std::uint64_t>();
  status.modified_ns = static_cast<std::int64_t>(reader.word<std::uint64_t>());
  status.changed_ns = static_cast<std::int64_t>(reader.word<std::uint64_t>());
  status.file_id = reader.word<std::uint64_t>();
  return status;
}

}  // namespace

const StatEntry* StatCache::find(const std::string& path) const {
  const auto found = entries_.find(path);
  return found == entries_.end() ? nullptr : &found->second;
}

std::string StatCache::write(std::string_view boot_id) const {
  std::string bytes(kMagic);
  PutText(bytes, boot_id);
  for (const auto& [path, entry] : entries_) {
    PutText(bytes, path);
    PutWord(bytes, entry.version);
    PutStatus(bytes, entry.working);
    PutStatus(bytes, entry.copy);
  }
  PutWord(bytes, HashBytes(bytes));
  return bytes;
}

std::optional<StatCache> StatCache::read(std::string_view bytes, std::string_view boot_id) {
  if (boot_id.empty() || !bytes.starts_with(kMagic)) return std::nullopt;
  if (bytes.size() < kMagic.size() + sizeof(std::uint64_t)) return std::nullopt;
  const std::string_view body = bytes.substr(0, bytes.size() - sizeof(std::uint64_t));
  if (LoadLittleEndian<std::uint64_t>(std::span(bytes).last<sizeof(std::uint64_t)>()) !=
      HashBytes(body))
    return std::nullopt;
  FieldReader reader(body.substr(kMagic.size()));
  if (reader.text() != boot_id) return std::nullopt;
  StatCache cache;
  while (reader.good() && !reader.at_end()) {
    std::string path(reader.text());
    StatEntry entry;
    entry.version = reader.word<std::uint32_t>();
    entry.working = TakeStatus(reader);
    entry.copy = TakeStatus(reader);
    if (reader.good()) cache.add(std::move(path), entry);
  }
  if (!reader.good()) return std::nullopt;
  return cache;
}

}  // namespace mrb::vfs
