// rename, purge, archive and unarchive: the verbs that move a context's folder. Nothing is ever
// copied or removed by them.

#include "common/answer.h"
#include "common/text.h"
#include "memory/record/context_id.h"
#include "memory/record/store_format.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/verb_table.h"
#include "platform/paths.h"

namespace mrb::memory {

namespace {

using platform::JoinPath;
using platform::NativePath;

std::string no_context(std::string_view id, std::string_view kind = "") {
  return ErrorAnswer("no " + std::string(kind) + "context '" + std::string(id) + "'");
}

std::string target_exists(const std::string& path) {
  return ErrorAnswer("target already exists: " + NativePath(path));
}

std::string move_error(const std::string& from, const std::string& to, const Error& error) {
  return ErrorAnswer("could not move " + NativePath(from) + " -> " + NativePath(to) +
                     " (a process may hold the data file open)  [" + error.text + "]");
}

/// The context that the line names, or why it cannot be moved.
std::expected<std::string, std::string> context_to_move(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 2);
  if (fields.size() < 2) {
    return std::unexpected(GenericUsageError(call));
  }
  if (const Status good = CheckContextId(fields[1]); !good) {
    return std::unexpected(ErrorAnswer(good.error().text));
  }
  return std::string(fields[1]);
}

/// Moves the folder of context `id` out of the lineup; the verb's failure, if any.
std::string move_away(const VerbCall& call, const std::string& id, const std::string& to) {
  if (!call.contexts.exists(id)) {
    return no_context(id);
  }
  if (platform::Exists(*call.options.files, to)) {
    return target_exists(to);
  }
  const Status moved = call.contexts.move_out(id, to);
  return moved ? "" : move_error(call.contexts.folder(id), to, moved.error());
}

std::string unarchive(const VerbCall& call, const std::string& id, const std::string& archived) {
  if (!platform::Exists(*call.options.files, archived)) {
    return no_context(id, "archived ");
  }
  const std::string to = call.contexts.folder(id);
  if (const Status moved = call.contexts.move_in(archived, id); !moved) {
    return moved.error().kind == ErrorKind::kAlreadyExists
               ? target_exists(to)
               : move_error(archived, to, moved.error());
  }
  return OkAnswer("context '" + id + "' restored to the lineup (" + NativePath(to) + ")");
}

}  // namespace

std::string RunRename(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3 || fields[1] == fields[2]) {
    return ErrorAnswer("usage  memory.rename <botid>, <context>, <new-id>   (new-id must differ)");
  }
  for (const std::string_view id : {fields[1], fields[2]}) {
    if (const Status good = CheckContextId(id); !good) {
      return ErrorAnswer(good.error().text);
    }
  }
  const std::string id(fields[1]);
  const std::string new_id(fields[2]);
  const std::string to = call.contexts.folder(new_id);
  if (call.contexts.exists(new_id)) {
    return target_exists(to);
  }
  if (!call.contexts.exists(id)) {
    return no_context(id);
  }
  if (const Status moved = call.contexts.rename(id, new_id); !moved) {
    return moved.error().kind == ErrorKind::kAlreadyExists
               ? target_exists(to)
               : move_error(call.contexts.folder(id), to, moved.error());
  }
  return OkAnswer("context '" + id + "' renamed to '" + new_id + "'");
}

std::string RunPurge(const VerbCall& call) {
  const auto id = context_to_move(call);
  if (!id) {
    return id.error();
  }
  const std::string to = JoinPath(JoinPath(call.contexts.contexts_folder(), kPurgedFolderName),
                                  *id + "-" + std::to_string(call.now()));
  if (const std::string failure = move_away(call, *id, to); !failure.empty()) {
    return failure;
  }
  return OkAnswer("context '" + *id + "' purged -> " + NativePath(to) +
                  "  (bytes kept; move the folder back to resurrect)");
}

std::string RunArchive(const VerbCall& call) {
  const auto id = context_to_move(call);
  if (!id) {
    return id.error();
  }
  const std::string archived =
      JoinPath(JoinPath(call.contexts.contexts_folder(), kArchiveFolderName), *id);
  if (EqualsIgnoreCase(call.verb, "unarchive")) {
    return unarchive(call, *id, archived);
  }
  if (const std::string failure = move_away(call, *id, archived); !failure.empty()) {
    return failure;
  }
  return OkAnswer("context '" + *id + "' archived -> " + NativePath(archived) +
                  "  (memory.unarchive brings it back)");
}

}  // namespace mrb::memory
