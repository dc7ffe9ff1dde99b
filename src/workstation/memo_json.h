#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/json_writer.h"
#include "memory/context/context_registry.h"
#include "memory/index/context_index.h"
#include "workstation/params.h"

namespace mrb::workstation {

/// Appends the members of a memo: topic, n, mark, types, written, size.
void AddMemo(JsonWriter& json, const memory::ContextIndex& index, std::uint32_t row);

/// Contexts that could not be read, of several: held by another process for example.
struct ContextFailure {
  std::string context;
  Error error;
};
using Failures = std::vector<ContextFailure>;
/// "failed": one object each.
void AddFailures(JsonWriter& json, const Failures& failures);

/// The contexts that the parameter "contexts" names, with "/" between; without it all that are
/// loaded.
[[nodiscard]] std::vector<std::string> ContextsOf(memory::ContextRegistry& contexts,
                                                  const Params& params);

/// The context that the parameter "context" names, for reading; kNotFound when there is none.
[[nodiscard]] Result<memory::ReadAccess> ContextOf(memory::ContextRegistry& contexts,
                                                   const Params& params);

}  // namespace mrb::workstation
