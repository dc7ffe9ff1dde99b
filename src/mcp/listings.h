#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "mcp/method.h"

namespace mrb::mcp {

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
