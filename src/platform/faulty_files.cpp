#include "platform/faulty_files.h"

#include <utility>

namespace mrb::platform {
namespace {

std::unexpected<Error> Injected(const std::string& path) {
  return Fail(ErrorKind::kIo, "injected fault at " + path);
}

}  // namespace

/// An open file whose every operation is counted with its file system's.
class FaultyFiles::Handle : public OpenFile {
 public:
  Handle(FaultyFiles& files, std::unique_ptr<OpenFile> real, std::string path)
      : files_(files), real_(std::move(real)), path_(std::move(path)) {}

  Result<std::uint64_t> size() override {
    if (files_.faulty()) return Injected(path_);
    return real_->size();
  }

  Result<std::size_t> read_at(std::uint64_t offset, char* out, std::size_t bytes) override {
    if (files_.faulty()) return Injected(path_);
    return real_->read_at(offset, out, bytes);
  }

  Status append(std::string_view bytes) override {
    const Fate fate = files_.next();
    if (fate == Fate::kIsDead) return Injected(path_);
    if (const auto size = real_->size()) files_.note_synced(path_, *size, false);
    if (fate == Fate::kWorks) return real_->append(bytes);
    (void)real_->append(bytes.substr(0, bytes.size() / 2));
    return Injected(path_);
  }

  Status truncate(std::uint64_t size) override {
    if (files_.faulty()) return Injected(path_);
    return real_->truncate(size);
  }

  Status sync() override {
    if (files_.faulty()) return Injected(path_);
    if (const auto size = real_->size()) files_.note_synced(path_, *size, true);
    return real_->sync();
  }

 private:
  FaultyFiles& files_;
  std::unique_ptr<OpenFile> real_;
  std::string path_;
};

void FaultyFiles::fail_at(std::uint64_t operation) {
  const std::lock_guard lock(mutex_);
  fail_at_ = operation;
  crash_ = false;
}

void FaultyFiles::crash_at(std::uint64_t operation) {
  const std::lock_guard lock(mutex_);
  fail_at_ = operation;
  crash_ = true;
}

void FaultyFiles::reset() {
  const std::lock_guard lock(mutex_);
  count_ = 0;
  fail_at_ = 0;
  crash_ = false;
}

std::uint64_t FaultyFiles::operations() const {
  const std::lock_guard lock(mutex_);
  return count_;
}

FaultyFiles::Fate FaultyFiles::next() {
  const std::lock_guard lock(mutex_);
  ++count_;
  if (fail_at_ == 0 || count_ < fail_at_) return Fate::kWorks;
  if (count_ == fail_at_) return Fate::kFails;
  return crash_ ? Fate::kIsDead : Fate::kWorks;
}

void FaultyFiles::note_synced(const std::string& path, std::uint64_t size, bool replace) {
  const std::lock_guard lock(mutex_);
  const auto [entry, is_new] = synced_.try_emplace(path, size);
  if (!is_new && replace) entry->second = size;
}

void FaultyFiles::lose_unsynced() {
  const std::lock_guard lock(mutex_);
  for (const auto& [path, size] : synced_) {
    const auto file = real_.open(path, OpenMode::kAppend);
    if (!file) continue;  // removed meanwhile
    const auto now = (*file)->size();
    if (now && *now > size) (void)(*file)->truncate(size);
  }
  synced_.clear();
}

Result<std::unique_ptr<OpenFile>> FaultyFiles::open(const std::string& path, OpenMode mode) {
  if (faulty()) return Injected(path);
  auto real = real_.open(path, mode);
  if (!real) return real;
  if (mode == OpenMode::kReplace) note_synced(path, 0, true);
  return std::make_unique<Handle>(*this, std::move(*real), path);
}

Result<FileStatus> FaultyFiles::status(const std::string& path) {
  if (faulty()) return Injected(path);
  return real_.status(path);
}

Result<std::vector<DirectoryEntry>> FaultyFiles::list(const std::string& path) {
  if (faulty()) return Injected(path);
  return real_.list(path);
}

Status FaultyFiles::make_directory(const std::string& path) {
  if (faulty()) return Injected(path);
  return real_.make_directory(path);
}

Status FaultyFiles::remove_file(const std::string& path) {
  if (faulty()) return Injected(path);
  const std::lock_guard lock(mutex_);
  synced_.erase(path);
  return real_.remove_file(path);
}

Status FaultyFiles::rename_replace(const std::string& from, const std::string& to) {
  if (faulty()) return Injected(from);
  const auto renamed = real_.rename_replace(from, to);
  if (!renamed) return renamed;
  const std::lock_guard lock(mutex_);
  synced_.erase(to);
  if (auto entry = synced_.extract(from)) {
    entry.key() = to;
    synced_.insert(std::move(entry));
  }
  return {};
}

Status FaultyFiles::rename_new(const std::string& from, const std::string& to) {
  if (faulty()) return Injected(from);
  return real_.rename_new(from, to);
}

Status FaultyFiles::sync_directory(const std::string& path) {
  if (faulty()) return Injected(path);
  return real_.sync_directory(path);
}

}  // namespace mrb::platform
