#pragma once

#include <exception>
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

/// Thrown by what reads a relative path of a caller whose folder is not known; the service answers
/// with its text. Nothing has been done then: verbs find out where their paths lead before they
/// act.
class NoCallerFolder : public std::exception {
 public:
  explicit NoCallerFolder(const CallerFolder& folder) : text_(folder.objection()) {}
  [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

 private:
  std::string text_;
};

/// Throws NoCallerFolder for a relative path of a caller that lost its folder.
void RequireUsefulFolder(const VfsCall& caller, std::string_view path);

/// A path on the disk as the caller names it, normal; nothing when it is none. Throws
/// NoCallerFolder for a relative one of a caller whose folder is not known.
[[nodiscard]] std::optional<std::string> PathOf(const VfsCall& caller, const std::string& path);

/// Where a path leads, by --store= when it is given. `path` becomes what answers are to call it:
/// its full name when it does not lie below the caller's folder, else as it was given. Throws
/// NoCallerFolder.
[[nodiscard]] std::optional<StorePath> Locate(const VerbCall& call, std::string& path);

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
