#include "platform/faulty_files.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/paths.h"

namespace mrb::platform {
namespace {

std::unexpected<Error> Injected(const std::string& path) {
  return Fail(ErrorKind::kIo, "injected fault at " + path);
}

}  // namespace

/// How much of one file is on the disk for certain. Shared by the name and the handles, so that it
/// stays with the file when that gets another name while it is open.
struct FaultyFiles::Growth {
  static constexpr std::uint64_t kAll = ~std::uint64_t{0};

  std::uint64_t flushed = kAll;  // guarded by mutex_; bytes, once the file has changed
};

/// An open file whose every operation is counted with its file system's.
class FaultyFiles::Handle : public OpenFile {
 public:
  Handle(FaultyFiles& files, std::unique_ptr<OpenFile> real, std::string path,
         std::shared_ptr<Growth> growth)
      : files_(files), real_(std::move(real)), path_(std::move(path)), growth_(std::move(growth)) {}

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
    const auto before = real_->size();
    if (!before) return std::unexpected(before.error());
    {
      const std::lock_guard lock(files_.mutex_);
      if (growth_->flushed == Growth::kAll) growth_->flushed = *before;
    }
    if (fate == Fate::kWorks) return real_->append(bytes);
    static_cast<void>(real_->append(bytes.substr(0, bytes.size() / 2)));
    return Injected(path_);
  }

  Status truncate(std::uint64_t size) override {
    if (files_.faulty()) return Injected(path_);
    Status cut = real_->truncate(size);
    const std::lock_guard lock(files_.mutex_);
    if (cut) growth_->flushed = std::min(growth_->flushed, size);
    return cut;
  }

  Status sync() override {
    if (files_.faulty()) return Injected(path_);
    if (Status synced = real_->sync(); !synced) return synced;
    const auto size = real_->size();
    if (!size) return std::unexpected(size.error());
    const std::lock_guard lock(files_.mutex_);
    growth_->flushed = *size;
    return {};
  }

 private:
  FaultyFiles& files_;
  std::unique_ptr<OpenFile> real_;
  std::string path_;
  std::shared_ptr<Growth> growth_;
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

void FaultyFiles::lose_unsynced() {
  const std::lock_guard lock(mutex_);
  for (const auto& [path, growth] : growths_) {
    if (growth->flushed == Growth::kAll) continue;
    const auto file = real_.open(path, OpenMode::kAppend);
    if (!file) continue;  // removed meanwhile, by somebody else
    const auto now = (*file)->size();
    if (now && *now > growth->flushed) static_cast<void>((*file)->truncate(growth->flushed));
  }
  growths_.clear();
}

std::shared_ptr<FaultyFiles::Growth> FaultyFiles::growth_of(const std::string& path) {
  const std::lock_guard lock(mutex_);
  auto& growth = growths_[path];
  if (!growth) growth = std::make_shared<Growth>();
  return growth;
}

void FaultyFiles::move_growth(const std::string& from, const std::string& to) {
  const std::lock_guard lock(mutex_);
  growths_.erase(to);
  if (auto entry = growths_.extract(from)) {
    entry.key() = to;
    growths_.insert(std::move(entry));
  }
  const std::string folder = JoinPath(from, "");  // when it was one, its files move along
  std::vector<std::string> inside;
  for (const auto& [path, growth] : growths_) {
    if (path.starts_with(folder)) inside.push_back(path);
  }
  for (const std::string& path : inside) {
    auto entry = growths_.extract(path);
    entry.key() = JoinPath(to, path.substr(folder.size()));
    growths_.insert(std::move(entry));
  }
}

Result<std::unique_ptr<OpenFile>> FaultyFiles::open(const std::string& path, OpenMode mode) {
  if (faulty()) return Injected(path);
  auto real = real_.open(path, mode);
  if (!real) return real;
  auto growth = growth_of(path);
  if (mode == OpenMode::kReplace) {
    const std::lock_guard lock(mutex_);
    growth->flushed = 0;
  }
  return std::make_unique<Handle>(*this, std::move(*real), path, std::move(growth));
}

Result<FileStatus> FaultyFiles::status(const std::string& path) {
  if (faulty()) return Injected(path);
  return real_.status(path);
}

Result<std::vector<DirectoryEntry>> FaultyFiles::list(const std::string& path) {
  if (faulty()) return Injected(path);
  return real_.list(path);
}

Status FaultyFiles::walk(const std::string& root, TreeVisitor& visitor) {
  if (faulty()) return Injected(root);
  return real_.walk(root, visitor);
}

Status FaultyFiles::make_directory(const std::string& path) {
  if (faulty()) return Injected(path);
  return real_.make_directory(path);
}

Status FaultyFiles::make_shared_directory(const std::string& path) {
  if (faulty()) return Injected(path);
  return real_.make_shared_directory(path);
}

Status FaultyFiles::copy_permissions(const std::string& from, const std::string& to) {
  if (faulty()) return Injected(to);
  return real_.copy_permissions(from, to);
}

Status FaultyFiles::remove_file(const std::string& path) {
  if (faulty()) return Injected(path);
  Status removed = real_.remove_file(path);
  const std::lock_guard lock(mutex_);
  if (removed) growths_.erase(path);
  return removed;
}

Status FaultyFiles::rename_replace(const std::string& from, const std::string& to) {
  if (faulty()) return Injected(from);
  Status renamed = real_.rename_replace(from, to);
  if (renamed) move_growth(from, to);
  return renamed;
}

Status FaultyFiles::rename_new(const std::string& from, const std::string& to) {
  if (faulty()) return Injected(from);
  Status renamed = real_.rename_new(from, to);
  if (renamed) move_growth(from, to);
  return renamed;
}

Status FaultyFiles::sync_directory(const std::string& path) {
  if (faulty()) return Injected(path);
  return real_.sync_directory(path);
}

Status FaultyFiles::sync_volume(const std::string& path) {
  if (faulty()) return Injected(path);
  Status synced = real_.sync_volume(path);
  const std::lock_guard lock(mutex_);
  if (synced) {
    for (const auto& [name, growth] : growths_) growth->flushed = Growth::kAll;
  }
  return synced;
}

}  // namespace mrb::platform
