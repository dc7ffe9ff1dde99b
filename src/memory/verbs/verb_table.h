#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "memory/context/context_registry.h"
#include "memory/context/memory_writer.h"
#include "memory/verbs/memory_options.h"

namespace mrb::memory {

/// What a verb works with.
struct VerbCall {
  ContextRegistry& contexts;
  const MemoryOptions& options;
  std::string_view bot;   ///< the caller
  std::string_view verb;  ///< as typed
  std::string_view rest;  ///< the line behind the verb

  [[nodiscard]] std::uint64_t now() const { return options.now(); }

  /// A path that the caller named, seen from the caller's folder.
  [[nodiscard]] std::string full_path(std::string_view path) const;

  /// What changes memos of the contexts; for this call.
  [[nodiscard]] MemoryWriter writer() const { return {contexts, options.embedder, options.now}; }

  /// Tells whoever waits at a console how far a long work has come.
  void progress(const std::string& text) const;
};

using VerbFunction = std::string (*)(const VerbCall&);

/// One row of the verb registry, from which calls are dispatched and the manual is printed.
struct VerbRow {
  std::string_view verb;
  std::string_view aliases;   ///< other names of the verb, separated by blanks
  std::string_view siblings;  ///< verbs of their own that share the row
  std::string_view usage;     ///< several are separated by line feeds
  std::string_view summary;
  std::string_view note;
  VerbFunction run;  ///< nothing: not part of this build
};

/// All rows, in the manual's order.
[[nodiscard]] std::span<const VerbRow> VerbRows();

/// The row that `verb` names, in any letter case; nothing for an unknown verb.
[[nodiscard]] const VerbRow* FindVerb(std::string_view verb);

/// "usage  memory.<verb> <botid>, <context>, <arg> …" for verbs without a line of their own.
[[nodiscard]] std::string GenericUsageError(const VerbCall& call);

// The verbs, one family to a file.
[[nodiscard]] std::string RunAdd(const VerbCall& call);
[[nodiscard]] std::string RunAddMemo(const VerbCall& call);
[[nodiscard]] std::string RunUpdate(const VerbCall& call);
[[nodiscard]] std::string RunDelete(const VerbCall& call);
[[nodiscard]] std::string RunDeleteMemo(const VerbCall& call);
[[nodiscard]] std::string RunMemos(const VerbCall& call);
[[nodiscard]] std::string RunGetMemo(const VerbCall& call);
[[nodiscard]] std::string RunRetrieve(const VerbCall& call);
[[nodiscard]] std::string RunRecent(const VerbCall& call);
[[nodiscard]] std::string RunStats(const VerbCall& call);
[[nodiscard]] std::string RunKeywords(const VerbCall& call);
[[nodiscard]] std::string RunSearch(const VerbCall& call);
[[nodiscard]] std::string RunQuery(const VerbCall& call);
[[nodiscard]] std::string RunContexts(const VerbCall& call);
[[nodiscard]] std::string RunRename(const VerbCall& call);
[[nodiscard]] std::string RunPurge(const VerbCall& call);
[[nodiscard]] std::string RunArchive(const VerbCall& call);
[[nodiscard]] std::string RunClone(const VerbCall& call);
[[nodiscard]] std::string RunExport(const VerbCall& call);
[[nodiscard]] std::string RunImport(const VerbCall& call);
[[nodiscard]] std::string RunIndexDir(const VerbCall& call);
[[nodiscard]] std::string RunW5(const VerbCall& call);
[[nodiscard]] std::string RunWho(const VerbCall& call);
[[nodiscard]] std::string RunTemporal(const VerbCall& call);
[[nodiscard]] std::string RunChain(const VerbCall& call);
[[nodiscard]] std::string RunW5Build(const VerbCall& call);
[[nodiscard]] std::string RunEmbed(const VerbCall& call);
[[nodiscard]] std::string RunSemantic(const VerbCall& call);
[[nodiscard]] std::string RunModels(const VerbCall& call);
[[nodiscard]] std::string RunCacheKeys(const VerbCall& call);
[[nodiscard]] std::string RunCacheKey(const VerbCall& call);
[[nodiscard]] std::string RunModelKeywords(const VerbCall& call);
[[nodiscard]] std::string RunForgetModel(const VerbCall& call);
[[nodiscard]] std::string RunLint(const VerbCall& call);
[[nodiscard]] std::string RunStripToTokens(const VerbCall& call);
[[nodiscard]] std::string RunHelp(const VerbCall& call);

}  // namespace mrb::memory
