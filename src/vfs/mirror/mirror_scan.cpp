#include "vfs/mirror/mirror_scan.h"

#include "platform/tree_visitor.h"

namespace mrb::vfs {
namespace {

void Note(MirrorFacts& facts, const MirrorEntry& entry, const platform::FileStatus& status) {
  switch (entry.kind) {
    case MirrorEntry::Kind::kCopy:
      facts.has_copy = true;
      facts.copy = status;
      break;
    case MirrorEntry::Kind::kTombstone:
      facts.has_tombstone = true;
      facts.tombstone_modified_ns = status.modified_ns;
      break;
    case MirrorEntry::Kind::kArchive:
      facts.archives.push_back({entry.number, status.modified_ns});
      break;
    case MirrorEntry::Kind::kOther:
      break;
  }
}

class MirrorVisitor final : public platform::TreeVisitor {
 public:
  explicit MirrorVisitor(MirrorContents& contents) : contents_(contents) {}

  bool enter(std::string_view) override { return true; }
  void file(std::string_view path, const platform::FileStatus& status) override {
    const MirrorEntry entry = ClassifyMirrorFile(path);
    if (entry.kind != MirrorEntry::Kind::kOther) Note(contents_[entry.key], entry, status);
  }
  void skipped(std::string_view, Skipped) override {}

 private:
  MirrorContents& contents_;
};

bool IsFile(const Result<platform::FileStatus>& status) {
  return status && status->type == platform::FileStatus::Type::kFile;
}

}  // namespace

Result<MirrorContents> ScanMirror(const StorePlaces& places) {
  MirrorContents contents;
  MirrorVisitor visitor(contents);
  const Status walked = places.files->walk(places.mirror->root(), visitor);
  if (!walked && walked.error().kind != ErrorKind::kNotFound) {
    return std::unexpected(walked.error());
  }
  return contents;
}

MirrorFacts ScanMirrorOf(const StorePlaces& places, std::string_view path) {
  platform::FileSystem& files = *places.files;
  MirrorFacts facts;
  const std::string name = MirrorLayout::key(path);
  const auto look = [&](MirrorEntry::Kind kind, const std::string& file) {
    if (const auto status = files.status(file); IsFile(status))
      Note(facts, {kind, name, 0}, *status);
  };
  look(MirrorEntry::Kind::kCopy, places.mirror_copy(path));
  look(MirrorEntry::Kind::kTombstone, places.mirror->tombstone(path));
  const auto archives = files.list(places.mirror->archive_folder(path));
  if (!archives) return facts;
  const std::size_t slash = name.find_last_of('/') + 1;
  const std::string folder = name.substr(0, slash) + "." + name.substr(slash) + ".oldversions/";
  for (const platform::DirectoryEntry& entry : *archives) {
    const MirrorEntry known = ClassifyMirrorFile(folder + entry.name);
    if (known.kind != MirrorEntry::Kind::kArchive) continue;
    const auto status = files.status(places.mirror->archive(path, known.number));
    if (IsFile(status)) Note(facts, known, *status);
  }
  return facts;
}

std::string SourcePath(const StorePlaces& places, std::string_view path, const ByteSource& source) {
  switch (source.kind) {
    case ByteSource::Kind::kArchive:
      return places.mirror->archive(path, source.number);
    case ByteSource::Kind::kTombstone:
      return places.mirror->tombstone(path);
    case ByteSource::Kind::kCopy:
    case ByteSource::Kind::kNone:
      break;
  }
  return places.mirror_copy(path);
}

}  // namespace mrb::vfs
