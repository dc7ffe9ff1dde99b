#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "mcp/tool.h"

namespace mrb::mcp {

/// The bot id under which the commands run: the author of versions and the owner of locks.
inline constexpr std::string_view kBot = "mcp";

/// Every tool, in the order of tools/list: the commands, then the terminals and the chat.
[[nodiscard]] const std::vector<const Tool*>& Tools();

/// Null when there is none of that name.
[[nodiscard]] const Tool* FindTool(std::string_view name);

// The table's parts, in its order, by family.
[[nodiscard]] std::span<const Tool> ShellTools();   ///< mrb.run to find
[[nodiscard]] std::span<const Tool> FileTools();    ///< fs.read to enroll
[[nodiscard]] std::span<const Tool> MemoryTools();  ///< memory.contexts to memory.lint
[[nodiscard]] std::span<const Tool> RecallTools();  ///< memory.models to turns
[[nodiscard]] std::span<const Tool> JobTools();     ///< workflow.list to job.trace
[[nodiscard]] std::span<const Tool> LiveTools();    ///< the chat's and the terminals'

}  // namespace mrb::mcp
