#include "platform/config_file.h"

#include "common/text.h"

namespace mrb::platform {

std::optional<std::string> ReadSetting(FileSystem& files, const std::vector<std::string>& paths,
                                       std::string_view key) {
  for (const std::string& path : paths) {
    const auto text = ReadFile(files, path);
    if (!text) continue;
    std::optional<std::string> value;
    for (std::string_view line : Split(*text, '\n')) {
      line = line.substr(0, line.find('#'));
      const std::size_t equals = line.find('=');
      if (equals == std::string_view::npos || Trim(line.substr(0, equals)) != key) continue;
      value = Trim(line.substr(equals + 1));
    }
    return value;
  }
  return std::nullopt;
}

}  // namespace mrb::platform
