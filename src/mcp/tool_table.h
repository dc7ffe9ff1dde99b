#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mcp/method.h"
#include "mcp/tool.h"

namespace mrb::mcp {

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

/// A tool's arguments as a JSON Schema.
[[nodiscard]] std::string InputSchema(const Tool& tool);

/// The result of tools/list; made once.
[[nodiscard]] const std::string& ToolList();

/// Names taken from the answers of listing commands, in their order; at most `most` that begin with
/// `prefix`, upper and lower case alike. Empty when the command fails.
[[nodiscard]] std::vector<std::string> ListContexts(const MethodCall& call, std::size_t most,
                                                    std::string_view prefix = {});
[[nodiscard]] std::vector<std::string> ListTopics(const MethodCall& call, std::string_view context,
                                                  std::size_t most, std::string_view prefix);
/// Paths of one folder, written as `prefix` begins: with its folder in front.
[[nodiscard]] std::vector<std::string> ListPaths(const MethodCall& call, std::size_t most,
                                                 std::string_view prefix);

}  // namespace mrb::mcp
