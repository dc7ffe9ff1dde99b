#include "platform/posix/user_name.h"

#include <string_view>

#include "common/text.h"
#include "platform/files.h"

namespace mrb::platform {

// The C library's own lookup needs modules that no static executable can load.
std::string UserName(std::uint32_t uid) {
  const std::string number = std::to_string(uid);
  const std::string list = ReadFile(SystemFiles(), "/etc/passwd").value_or("");
  for (const std::string_view line : Split(list, '\n')) {
    const auto fields = Split(line, ':');  // name:password:uid:…
    if (fields.size() > 2 && fields[2] == number) return std::string(fields[0]);
  }
  return "uid " + number;
}

}  // namespace mrb::platform
