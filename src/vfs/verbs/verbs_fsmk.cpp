// Making files and folders.

#include <array>

#include "common/answer.h"
#include "vfs/model/reserved_names.h"
#include "vfs/verbs/verb_call.h"

namespace mrb::vfs {
namespace {

std::string NotEnrolled(const std::string& path) {
  return ErrorAnswer("no enrolled directory holds '" + path + "' — enroll its directory first");
}

std::string MakeFolder(const VerbCall& call) {
  std::string path = call.args.text("path", 0);
  const auto at = Locate(call, path);
  if (!at) return NotEnrolled(path);
  const HeldStore store(at->store, call.caller);
  if (HasReservedPart(at->path)) return ErrorAnswer(ReservedNameReason(path));
  const Status made = MakeFoldersInside(*call.service.options().files, store->disk_root(),
                                        at->path + "/", FolderAccess::kShared, true);
  if (!made) return ErrorAnswer("mkdirs failed: " + made.error().text);
  return OkAnswer("folder " + path + " is there");
}

std::string Save(const VerbCall& call, const HeldStore& store, const std::string& path,
                 const StorePath& at, const std::string& content) {
  File& file = store->touch(at.path);
  const std::uint32_t before = file.version;
  const bool was_gone = file.is_gone();
  file.content = Blob::copy_of(content);
  if (!store->check_in(&file, call.args.is_true("dirty"))) return Failure(*store);
  if (store->is_cache()) {
    return OkAnswer("wrote through " + path +
                    " — cache write-through store (mode=cachewt), no version recorded");
  }
  const std::string version = std::to_string(file.version);
  if (file.version == before && !was_gone) {
    return OkAnswer("unchanged " + path + " v" + version + Notice(*store));
  }
  return OkAnswer((before == 0 ? "created " : "saved ") + path + " v" + version + Notice(*store)) +
         AutoVersionNotice(path, file.version);
}

std::string MakeFile(const VerbCall& call) {
  std::string path = call.args.text("path", 0);
  if (path.empty()) return UsageOf(FsmkVerbs(), call.verb);
  if (path.ends_with('/')) return MakeFolder(call);
  const auto at = Locate(call, path);
  if (!at) return NotEnrolled(path);
  const HeldStore store(at->store, call.caller);
  if (at->path.empty() || store->is_folder(at->path)) return ErrorAnswer("not a file: " + path);
  auto content = call.args.tag("content");
  const std::size_t first_word = call.args.tag("path") ? 0 : 1;
  if (!content && call.args.words().size() > first_word) content = call.args.words_from(first_word);
  const File* known = store->find(at->path);
  if (!content && known != nullptr && !known->is_gone()) {
    return ErrorAnswer(path + " exists already — give its new text as <content>…</content>");
  }
  const std::string text = content.value_or("");
  if (HasReservedPart(at->path)) return ErrorAnswer(ReservedNameReason(path));
  if (!store->admits(at->path, text.size())) return ErrorAnswer(ExcludedReason(*store));
  return Save(call, store, path, *at, text);
}

constexpr std::array kRows{
    VerbRow{"file", "write", "fsmk:file <path>p</path><content>text</content>", true, &MakeFile},
    VerbRow{"dir", "folder mkdir", "fsmk:dir <path>", true, &MakeFolder},
};

}  // namespace

const VerbFamily& FsmkVerbs() {
  static constexpr VerbFamily kFamily{"fsmk", kRows, "(file|dir)"};
  return kFamily;
}

}  // namespace mrb::vfs
