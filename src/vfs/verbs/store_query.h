#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vfs/query/expression.h"
#include "vfs/store/store_snapshot.h"
#include "vfs/verbs/verb_call.h"

namespace mrb::vfs {

/// The files of a store that fit an expression, deleted ones included, in the order of their paths.
/// `registers` are what $1, $2, … stand for. Uses all cores.
[[nodiscard]] StoreSnapshot FittingFiles(const std::shared_ptr<VersionStore>& store,
                                         const query::Expression& expression,
                                         const std::vector<std::string>& registers = {});

/// Answers an expression of the query language, the call's arguments, over one store: --store=, or
/// the only enrolled one.
[[nodiscard]] std::string RunQuery(const VerbCall& call);

}  // namespace mrb::vfs
