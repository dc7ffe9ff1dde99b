// rename, purge, archive and unarchive: the verbs that move a context's folder. Nothing is ever
// copied or removed by them.
// contexts and browse: the lineup, and what one context of it holds.

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

std::string NoContext(std::string_view id, std::string_view kind = "") {
  return ErrorAnswer("no " + std::string(kind) + "context '" + std::string(id) + "'");
}

std::string TargetExists(const std::string& path) {
  return ErrorAnswer("target already exists: " + NativePath(path));
}

std::string MoveError(const std::string& from, const std::string& to, const Error& error) {
  return ErrorAnswer("could not move " + NativePath(from) + " -> " + NativePath(to) +
                     " (a process may hold the data file open)  [" + error.text + "]");
}

/// The context that the line names, or why it cannot be moved.
std::expected<std::string, std::string> ContextToMove(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 2);
  if (fields.size() < 2) return std::unexpected(UsageError(call));
  if (const Status good = CheckContextId(fields[1]); !good) {
    return std::unexpected(ErrorAnswer(good.error().text));
  }
  return std::string(fields[1]);
}

/// Moves the folder of context `id` out of the lineup; the verb's failure, if any.
std::string MoveAway(const VerbCall& call, const std::string& id, const std::string& to) {
  if (!call.contexts.exists(id)) return NoContext(id);
  if (platform::Exists(*call.options.files, to)) return TargetExists(to);
  const Status moved = call.contexts.move_out(id, to);
  return moved ? "" : MoveError(call.contexts.folder(id), to, moved.error());
}

std::string Unarchive(const VerbCall& call, const std::string& id, const std::string& archived) {
  if (!platform::Exists(*call.options.files, archived)) return NoContext(id, "archived ");
  const std::string to = call.contexts.folder(id);
  if (const Status moved = call.contexts.move_in(archived, id); !moved) {
    return moved.error().kind == ErrorKind::kAlreadyExists ? TargetExists(to)
                                                           : MoveError(archived, to, moved.error());
  }
  return OkAnswer("context '" + id + "' restored to the lineup (" + NativePath(to) + ")");
}

std::string Number(std::uint64_t value) {
  return std::to_string(value);
}

void AppendListed(std::string& out, const ContextRegistry::Listed& context) {
  out.append("\n  ").append(context.id).append("  ");
  if (context.loaded) {
    out += Number(context.topics) + " topic(s), " + Number(context.bytes) + " bytes (loaded)";
    return;
  }
  out += Number(context.bytes) + " bytes on disk (not loaded";
  out += context.legacy ? ", pre-MRB4: imports on first touch)" : ")";
}

std::string ListContexts(const VerbCall& call) {
  const auto listed = call.contexts.list();
  if (!listed) return ErrorAnswer(listed.error().text);
  std::string answer = OkAnswer(Number(listed->size()) + " context(s) under " +
                                platform::NativePath(call.contexts.contexts_folder()));
  for (const ContextRegistry::Listed& context : *listed) {
    AppendListed(answer, context);
  }
  if (listed->empty()) {
    answer +=
        "\n  (none yet — memory.add <botid>, {ctx}, <topic>, , <content> creates the first)\n";
  }
  return answer;
}

std::string Browse(const VerbCall& call, std::string_view context) {
  const auto access = call.contexts.read(context);
  if (!access) return ErrorAnswer(access.error().text);
  const ContextIndex& index = access->store->index();
  const TopicTable& topics = index.topics();
  std::string answer =
      OkAnswer("context '" + std::string(context) + "' — " + Number(topics.size()) + " topic(s)");
  if (topics.size() == 0) return answer + "\n  (empty — memory.add puts the first record here)\n";
  for (std::uint32_t topic = 0; topic < topics.size(); ++topic) {
    answer.append("\n  ").append(topics.name(topic)).append("  ");
    answer += Number(topics.rows(topic).size()) + " memo(s)";
  }
  return answer + "\n" + Number(index.keywords().size()) + " keyword(s), " +
         Number(access->store->heap().used()) + " bytes";
}

std::string RunRename(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3 || fields[1] == fields[2]) return UsageError(call);
  for (const std::string_view id : {fields[1], fields[2]}) {
    if (const Status good = CheckContextId(id); !good) return ErrorAnswer(good.error().text);
  }
  const std::string id(fields[1]);
  const std::string new_id(fields[2]);
  const std::string to = call.contexts.folder(new_id);
  if (call.contexts.exists(new_id)) return TargetExists(to);
  if (!call.contexts.exists(id)) return NoContext(id);
  if (const Status moved = call.contexts.rename(id, new_id); !moved) {
    return moved.error().kind == ErrorKind::kAlreadyExists
               ? TargetExists(to)
               : MoveError(call.contexts.folder(id), to, moved.error());
  }
  return OkAnswer("context '" + id + "' renamed to '" + new_id + "'");
}

std::string RunPurge(const VerbCall& call) {
  const auto id = ContextToMove(call);
  if (!id) return id.error();
  const std::string to = JoinPath(JoinPath(call.contexts.contexts_folder(), kPurgedFolderName),
                                  *id + "-" + std::to_string(call.now()));
  if (const std::string failure = MoveAway(call, *id, to); !failure.empty()) return failure;
  return OkAnswer("context '" + *id + "' purged -> " + NativePath(to) +
                  "  (bytes kept; move the folder back to resurrect)");
}

std::string RunArchive(const VerbCall& call) {
  const auto id = ContextToMove(call);
  if (!id) return id.error();
  const std::string archived =
      JoinPath(JoinPath(call.contexts.contexts_folder(), kArchiveFolderName), *id);
  if (EqualsIgnoreCase(call.verb, "unarchive")) return Unarchive(call, *id, archived);
  if (const std::string failure = MoveAway(call, *id, archived); !failure.empty()) return failure;
  return OkAnswer("context '" + *id + "' archived -> " + NativePath(archived) +
                  "  (memory.unarchive brings it back)");
}

std::string RunContexts(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 2);
  return fields.size() < 2 || fields[1].empty() ? ListContexts(call) : Browse(call, fields[1]);
}

constexpr VerbRow kRows[] = {
    {.verb = "contexts",
     .aliases = "browse list",
     .usage = "memory.contexts <botid>\nmemory.browse <botid>, <context>",
     .summary = "Browse the pipeline's context lineup: list every bucket (loaded or on disk) with "
                "topic counts and sizes; name a context to browse INTO it and see its topics.",
     .run = RunContexts},
    {.verb = "rename",
     .usage = "memory.rename <botid>, <context>, <new-id>",
     .usage_error = "memory.rename <botid>, <context>, <new-id>   (new-id must differ)",
     .summary =
         "Rename a context — its directory moves, context.id is rewritten, nothing is copied or "
         "lost.",
     .run = RunRename},
    {.verb = "purge",
     .usage = "memory.purge <botid>, <context>",
     .summary =
         "Retire a whole context: its directory moves to <contexts>\\.purged\\<id>-<unix-time>. "
         "Never a hard delete.",
     .run = RunPurge},
    {.verb = "archive",
     .siblings = "unarchive",
     .usage = "memory.archive <botid>, <context>\nmemory.unarchive <botid>, <context>",
     .summary =
         "Park a context out of the lineup: its directory moves to <contexts>\\.archive\\<id>; "
         "unarchive brings it back exactly.",
     .run = RunArchive},
};

}  // namespace

std::span<const VerbRow> MoveVerbs() {
  return kRows;
}

}  // namespace mrb::memory
