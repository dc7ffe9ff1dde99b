#include "vfs/stat_cache.h"

#include "common/little_endian.h"
#include "vfs/blob.h"

namespace mrb::vfs {
namespace {

constexpr std::string_view kMagic = "MBSTAT1\n";

template <typename Word>
void Put(std::string& bytes, Word word) {
  const std::size_t at = bytes.size();
  bytes.resize(at + sizeof word);
  StoreLittleEndian(bytes.data() + at, word);
}

void PutText(std::string& bytes, std::string_view text) {
  Put(bytes, static_cast<std::uint32_t>(text.size()));
  bytes += text;
}

void PutStatus(std::string& bytes, const platform::FileStatus& status) {
  Put(bytes, status.size);
  Put(bytes, static_cast<std::uint64_t>(status.modified_ns));
  Put(bytes, static_cast<std::uint64_t>(status.changed_ns));
  Put(bytes, status.file_id);
}

/// Takes fields off the front of bytes that may end anywhere; what is missing reads as zero.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : rest_(bytes) {}

  template <typename Word>
  Word number() {
    if (rest_.size() < sizeof(Word)) {
      is_whole_ = false;
      return 0;
    }
    const auto word = LoadLittleEndian<Word>(rest_.data());
    rest_.remove_prefix(sizeof(Word));
    return word;
  }

  std::string_view text() {
    const auto length = number<std::uint32_t>();
    if (length > rest_.size()) {
      is_whole_ = false;
      return {};
    }
    const std::string_view text = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return text;
  }

  platform::FileStatus status() {
    platform::FileStatus status;
    status.type = platform::FileStatus::Type::kFile;
    status.size = number<std::uint64_t>();
    status.modified_ns = static_cast<std::int64_t>(number<std::uint64_t>());
    status.changed_ns = static_cast<std::int64_t>(number<std::uint64_t>());
    status.file_id = number<std::uint64_t>();
    return status;
  }

  [[nodiscard]] bool is_whole() const { return is_whole_; }
  [[nodiscard]] bool at_end() const { return rest_.empty(); }

 private:
  std::string_view rest_;
  bool is_whole_ = true;
};

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
    Put(bytes, entry.version);
    PutStatus(bytes, entry.working);
    PutStatus(bytes, entry.copy);
  }
  Put(bytes, HashBytes(bytes));
  return bytes;
}

std::optional<StatCache> StatCache::read(std::string_view bytes, std::string_view boot_id) {
  if (boot_id.empty() || !bytes.starts_with(kMagic)) return std::nullopt;
  if (bytes.size() < kMagic.size() + sizeof(std::uint64_t)) return std::nullopt;
  const std::string_view body = bytes.substr(0, bytes.size() - sizeof(std::uint64_t));
  if (LoadU64(bytes.data() + body.size()) != HashBytes(body)) return std::nullopt;
  Reader reader(body.substr(kMagic.size()));
  if (reader.text() != boot_id) return std::nullopt;
  StatCache cache;
  while (reader.is_whole() && !reader.at_end()) {
    std::string path(reader.text());
    StatEntry entry;
    entry.version = reader.number<std::uint32_t>();
    entry.working = reader.status();
    entry.copy = reader.status();
    if (reader.is_whole()) cache.add(std::move(path), entry);
  }
  if (!reader.is_whole()) return std::nullopt;
  return cache;
}

}  // namespace mrb::vfs
