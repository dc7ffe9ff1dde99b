#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vfs/verbs/verb_call.h"

namespace mrb::vfs {

/// Searches the current bytes of every store, or the versions asked for.
[[nodiscard]] std::string RunGrep(const VerbCall& call);

/// Replaces what it finds, or tells what it would replace.
[[nodiscard]] std::string RunGrepEdit(const VerbCall& call);

/// Lists the files whose path fits a glob and whose words fit another.
[[nodiscard]] std::string RunFind(const VerbCall& call);

/// The stores that a search covers: the one named, else all that listings show and that hold their
/// files in memory, by root.
[[nodiscard]] Result<std::vector<std::shared_ptr<VersionStore>>> SearchedStores(
    const VerbCall& call, const std::optional<std::string>& named);

/// How answers call the files of a store, so that any other verb understands it: those of the
/// active store by their paths below its root, those of others in full.
class FileLabels {
 public:
  FileLabels(const VerbCall& call, const VersionStore& store);

  void append(std::string& out, std::string_view path) const;

 private:
  std::string root_;  // empty: paths stand alone
};

}  // namespace mrb::vfs
