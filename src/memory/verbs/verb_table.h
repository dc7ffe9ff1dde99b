#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "memory/context/context_registry.h"
#include "memory/context/memory_writer.h"
#include "memory/verbs/memory_options.h"

namespace mrb::memory {

struct VerbCall;
using VerbFunction = std::string (*)(const VerbCall&);

/// One row of the verb registry, from which calls are dispatched and the manual is printed.
struct VerbRow {
  std::string_view verb;
  std::string_view aliases = {};      ///< other names of the verb, separated by blanks
  std::string_view siblings = {};     ///< verbs of their own that share the row
  std::string_view usage = {};        ///< several are separated by line feeds
  std::string_view usage_error = {};  ///< what UsageError() says; empty: the form of most verbs
  std::string_view summary = {};
  std::string_view note = {};
  VerbFunction run = nullptr;  ///< nothing: not part of this build
};

/// What a verb works with.
struct VerbCall {
  ContextRegistry& contexts;
  const MemoryOptions& options;
  const VerbRow& row;     ///< of the verb
  std::string_view bot;   ///< the caller
  std::string_view verb;  ///< as typed
  std::string_view rest;  ///< the line behind the verb

  [[nodiscard]] std::uint64_t now() const { return options.now(); }

  /// A path that the caller named, seen from the caller's folder.
  [[nodiscard]] Result<std::string> full_path(std::string_view path) const;

  /// What changes memos of the contexts; for this call.
  [[nodiscard]] MemoryWriter writer() const { return {contexts, options.embedder, options.now}; }

  /// Tells whoever waits at a console how far a long work has come.
  void progress(const std::string& text) const;
};

/// All rows, in the manual's order.
[[nodiscard]] std::span<const VerbRow> VerbRows();

/// The row that `verb` names, in any letter case; nothing for an unknown verb.
[[nodiscard]] const VerbRow* FindVerb(std::string_view verb);

/// The answer to a call with too few fields: "usage  " and what the verb's row says, else
/// "memory.<verb> <botid>, <context>, <arg> …".
[[nodiscard]] std::string UsageError(const VerbCall& call);

/// The same of a verb that takes types, and which those are.
[[nodiscard]] std::string PropsUsageError(const VerbCall& call);

// The verbs, one family to a file.
[[nodiscard]] std::span<const VerbRow> AddVerbs();
[[nodiscard]] std::span<const VerbRow> EditVerbs();
[[nodiscard]] std::span<const VerbRow> ReadVerbs();
[[nodiscard]] std::span<const VerbRow> SearchVerbs();
[[nodiscard]] std::span<const VerbRow> QueryVerbs();
[[nodiscard]] std::span<const VerbRow> MoveVerbs();
[[nodiscard]] std::span<const VerbRow> CopyVerbs();
[[nodiscard]] std::span<const VerbRow> IndexDirVerbs();
[[nodiscard]] std::span<const VerbRow> WebVerbs();
[[nodiscard]] std::span<const VerbRow> TimeVerbs();
[[nodiscard]] std::span<const VerbRow> EmbedVerbs();
[[nodiscard]] std::span<const VerbRow> W5BuildVerbs();
[[nodiscard]] std::span<const VerbRow> ModelVerbs();
[[nodiscard]] std::span<const VerbRow> CacheKeyVerbs();
[[nodiscard]] std::span<const VerbRow> AboutVerbs();

}  // namespace mrb::memory
