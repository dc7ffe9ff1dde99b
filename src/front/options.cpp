#include "front/options.h"

#include <optional>
#include <string_view>
#include <utility>

#include "common/text.h"

namespace mrb::front {
namespace {

enum class Option { kNone, kPort, kHome };

Option OptionOf(std::string_view argument) {
  if (argument == "--port" || argument == "-p") return Option::kPort;
  if (argument == "--conf" || argument == "--home") return Option::kHome;
  return Option::kNone;
}

std::optional<std::int32_t> ParsePort(std::string_view text) {
  const auto port = ParseDecimal(text);
  if (!port || *port < 1 || *port > 65535) return std::nullopt;
  return static_cast<std::int32_t>(*port);
}

}  // namespace

std::string FindVerb(const std::vector<std::string>& arguments) {
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    if (OptionOf(arguments[i]) != Option::kNone) {
      ++i;
    } else if (!arguments[i].empty() && arguments[i][0] != '-') {
      return arguments[i];
    }
  }
  return {};
}

Result<Options> ParseOptions(std::vector<std::string> arguments) {
  Options options;
  const bool is_grep = FindVerb(arguments) == "grep";
  bool seen_word = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    std::string& argument = arguments[i];
    Option option = i == 0 ? Option::kNone : OptionOf(argument);
    if (is_grep && seen_word && argument == "-p") option = Option::kNone;
    if (option == Option::kNone || i + 1 == arguments.size()) {
      seen_word = seen_word || (i > 0 && !argument.starts_with('-'));
      options.arguments.push_back(std::move(argument));
      continue;
    }
    std::string& value = arguments[++i];
    if (option == Option::kHome) {
      options.data_home_override = std::move(value);
    } else if (const auto port = ParsePort(value)) {
      options.port = *port;
    } else {
      return Fail(ErrorKind::kInvalidArgument, std::move(value));
    }
  }
  return options;
}

}  // namespace mrb::front
