#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>

#include "mcp/field.h"
#include "mcp/method.h"

namespace mrb::mcp {

/// The arguments of one call, as they stand in a command; absent ones are not there, or empty.
class Arguments {
 public:
  void set(std::string_view name, std::string text) { texts_[std::string(name)] = std::move(text); }

  [[nodiscard]] const std::string& get(std::string_view name) const {
    static const std::string kNothing;
    const auto found = texts_.find(name);
    return found == texts_.end() ? kNothing : found->second;
  }

 private:
  std::map<std::string, std::string, std::less<>> texts_;
};

/// Makes the command text of a call; the error's text is the answer instead, and nothing is run.
using CommandBuilder = Result<std::string> (*)(const Arguments& arguments);

/// Answers a call without a command.
using ToolFunction = std::string (*)(const MethodCall& call, const Arguments& arguments);

/// Lines of the answer that the caller has seen already; understood by every tool that has it.
inline constexpr std::string_view kOffset = "offset";
inline constexpr Field kOffsetField{
    kOffset, FieldType::kWhole, false,
    "Lines of the answer to leave out. Only when an earlier answer was cut and named this number."};

inline constexpr std::size_t kMaxFields = 8;

/// One row. A tool runs the command that its pattern or builder makes, or its own function.
struct Tool {
  std::string_view name;
  std::string_view about = {};
  Field fields[kMaxFields] = {};   ///< the first without a name ends them
  std::string_view pattern = {};   ///< see command_pattern.h
  CommandBuilder build = nullptr;  ///< where a pattern is not enough
  bool built = true;               ///< false: this executable has no verb for it
  ToolFunction run = nullptr;      ///< of a tool that is no command
};

/// The row's fields that are there.
[[nodiscard]] std::span<const Field> FieldsOf(const Tool& tool);

}  // namespace mrb::mcp
