// Direct operations of the system on files below an enrolled root. They mint no version themselves;
// a watched root notices what they did, as it notices any other program.

#include <array>

#include "common/answer.h"
#include "platform/paths.h"
#include "vfs/mirror/file_bytes.h"
#include "vfs/verbs/verb_call.h"

namespace mrb::vfs {
namespace {

/// A place on the disk that a raw operation may touch.
struct Place {
  std::string shown;  ///< as the caller wrote it
  std::string root;
  std::string relative;  ///< below the root
  std::string target;    ///< absolute
};

/// Refuses what leaves the root: by "..", or through a link in one of its folders.
std::expected<Place, std::string> PlaceOf(const VerbCall& call, std::string_view tag,
                                          std::size_t word) {
  Place place;
  place.shown = call.args.text(tag, word);
  const auto at = Locate(call, place.shown);
  if (!at || at->path.empty()) {
    return std::unexpected(ErrorAnswer("'" + place.shown + "' is not inside an enrolled root"));
  }
  place.root = at->store->disk_root();
  place.relative = at->path;
  place.target = at->store->working_path(at->path);
  for (std::size_t slash = at->path.find('/'); slash != std::string::npos;
       slash = at->path.find('/', slash + 1)) {
    const auto status =
        call.service.options().files->status(at->store->working_path(at->path.substr(0, slash)));
    if (status && status->type == platform::FileStatus::Type::kOther) {
      return std::unexpected(ErrorAnswer("'" + place.shown + "' leads through a link"));
    }
  }
  return place;
}

std::string Done(const Status& status, const std::string& text) {
  return status ? OkAnswer(text) : ErrorAnswer(status.error().text);
}

Status WriteOver(platform::FileSystem& files, const Place& place, std::string_view bytes) {
  StorePlaces places;
  places.files = &files;
  places.disk_root = place.root;
  VersionWrite write(places, place.relative, bytes);
  auto failure = write.write_temporaries();
  if (!failure) failure = write.commit_working();
  if (!failure) failure = write.sync(nullptr);
  if (failure) return Fail(ErrorKind::kIo, failure->reason);
  return {};
}

std::string Read(const VerbCall& call) {
  const auto place = PlaceOf(call, "path", 0);
  if (!place) return place.error();
  const auto bytes = ReadBlob(*call.service.options().files, place->target);
  if (!bytes) return ErrorAnswer(bytes.error().text);
  return std::string(bytes->bytes());
}

std::string Write(const VerbCall& call) {
  const auto place = PlaceOf(call, "path", 0);
  if (!place) return place.error();
  const auto content = call.args.tag("content");
  const std::string text = content ? *content : call.args.words_from(call.args.tag("path") ? 0 : 1);
  return Done(WriteOver(*call.service.options().files, *place, text),
              "wrote " + place->shown + " (raw, unversioned)");
}

std::string Remove(const VerbCall& call) {
  const auto place = PlaceOf(call, "path", 0);
  if (!place) return place.error();
  return Done(call.service.options().files->remove_file(place->target),
              "removed " + place->shown + " (raw, unversioned)");
}

std::string Copy(const VerbCall& call) {
  const auto from = PlaceOf(call, "src", 0);
  if (!from) return from.error();
  const auto to = PlaceOf(call, "dst", 1);
  if (!to) return to.error();
  const auto bytes = ReadBlob(*call.service.options().files, from->target);
  if (!bytes) return ErrorAnswer(bytes.error().text);
  return Done(WriteOver(*call.service.options().files, *to, bytes->bytes()),
              "copied " + from->shown + " -> " + to->shown + " (raw, unversioned)");
}

std::string Move(const VerbCall& call) {
  const auto from = PlaceOf(call, "src", 0);
  if (!from) return from.error();
  const auto to = PlaceOf(call, "dst", 1);
  if (!to) return to.error();
  return Done(call.service.options().files->rename_new(from->target, to->target),
              "moved " + from->shown + " -> " + to->shown + " (raw, unversioned)");
}

std::string MakeFolder(const VerbCall& call) {
  const auto place = PlaceOf(call, "path", 0);
  if (!place) return place.error();
  return Done(MakeFoldersInside(*call.service.options().files, place->root, place->relative + "/",
                                FolderAccess::kShared, true),
              "folder " + place->shown + " is there");
}

std::string List(const VerbCall& call) {
  std::string path = call.args.text("path", 0);
  const auto at = Locate(call, path);
  if (!at) return ErrorAnswer("'" + path + "' is not inside an enrolled root");
  const auto entries = call.service.options().files->list(at->store->working_path(at->path));
  if (!entries) return ErrorAnswer(entries.error().text);
  std::string text = std::to_string(entries->size()) + " entries in " + path + "\n";
  for (const platform::DirectoryEntry& entry : *entries) {
    const bool folder = entry.type == platform::FileStatus::Type::kDirectory;
    text += "  " + entry.name + (folder ? "/\n" : "\n");
  }
  return OkAnswer(text);
}

constexpr std::array kRows{
    VerbRow{"read", "cat", "fsraw:read <path>", true, &Read},
    VerbRow{"write", "", "fsraw:write <path>p</path><content>text</content>", true, &Write},
    VerbRow{"remove", "rm del delete", "fsraw:remove <path>", true, &Remove},
    VerbRow{"copy", "cp", "fsraw:copy <src> <dst>", true, &Copy},
    VerbRow{"move", "mv rename", "fsraw:move <src> <dst>", true, &Move},
    VerbRow{"mkdir", "dir", "fsraw:mkdir <path>", true, &MakeFolder},
    VerbRow{"list", "ls", "fsraw:list <folder>", true, &List},
};

}  // namespace

const VerbFamily& FsrawVerbs() {
  static constexpr VerbFamily kFamily{"fsraw", kRows, "(read|write|remove|copy|move|mkdir|list)"};
  return kFamily;
}

}  // namespace mrb::vfs
