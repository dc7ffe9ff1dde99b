#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "vfs/verbs/arguments.h"
#include "vfs/verbs/versioned_files.h"

namespace mrb::vfs {

/// One call of a file verb.
struct VerbCall {
  VersionedFiles& service;
  const VfsCall& caller;
  std::string_view verb;       ///< in lower case, as it was given
  std::string_view arguments;  ///< the text behind it
  Arguments args;
};

using VerbFunction = std::string (*)(const VerbCall&);

/// A verb of one namespace. Dispatch and help read the same row.
struct VerbRow {
  std::string_view name;
  std::string_view aliases;  ///< separated by blanks
  std::string_view usage;    ///< what stands behind "ERROR: usage  "
  bool needs_path;           ///< without any argument the usage is the answer
  VerbFunction run;
};

struct VerbFamily {
  std::string_view name;
  std::span<const VerbRow> rows;
  std::string_view unknown;  ///< what stands behind "ERROR: unknown <family> op '<op>' "
};

[[nodiscard]] const VerbFamily& FsVerbs();
[[nodiscard]] const VerbFamily& FsvctlVerbs();
[[nodiscard]] const VerbFamily& FslockVerbs();
[[nodiscard]] const VerbFamily& FsstatVerbs();
[[nodiscard]] const VerbFamily& FsmkVerbs();
[[nodiscard]] const VerbFamily& FsrawVerbs();
[[nodiscard]] const VerbFamily& FssysStoreVerbs();
[[nodiscard]] const VerbFamily& GrepVerbs();

/// A store held for one verb: locked, its author set to the caller.
class HeldStore {
 public:
  HeldStore(std::shared_ptr<VersionStore> store, const VfsCall& caller)
      : store_(std::move(store)), lock_(store_->lock()) {
    store_->set_author(caller.author);
  }
  VersionStore* operator->() const { return store_.get(); }
  VersionStore& operator*() const { return *store_; }

 private:
  std::shared_ptr<VersionStore> store_;
  VersionStore::Lock lock_;
};

/// Where a path leads, by --store= when it is given.
[[nodiscard]] std::optional<StorePath> Locate(const VerbCall& call, std::string_view path);

/// The enrolled store of a root, as a user names it.
[[nodiscard]] Result<std::shared_ptr<VersionStore>> StoreNamed(const VerbCall& call,
                                                               const std::string& root);

/// The store that a verb without a path is about: --store=, else the active one.
[[nodiscard]] Result<std::shared_ptr<VersionStore>> ChosenStore(const VerbCall& call);

/// "ERROR: usage  " and the usage of the verb that was called.
[[nodiscard]] std::string UsageOf(const VerbFamily& family, std::string_view verb);

/// "ERROR: " and the store's message.
[[nodiscard]] std::string Failure(const VersionStore& store);

/// "  [message]" when the store left one.
[[nodiscard]] std::string Notice(const VersionStore& store);

/// What a save through a front end is told of its version.
[[nodiscard]] std::string AutoVersionNotice(std::string_view path, std::uint32_t version);

/// Why a store without versions cannot be searched.
[[nodiscard]] std::string NothingToSearch(const VersionStore& store);

/// Why a save to a path that the policy leaves out is refused.
[[nodiscard]] std::string ExcludedReason(const VersionStore& store);

}  // namespace mrb::vfs
