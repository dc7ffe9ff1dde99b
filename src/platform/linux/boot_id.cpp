#include "platform/boot_id.h"

#include "common/text.h"
#include "platform/files.h"

namespace mrb::platform {

std::string BootId() {
  const auto text = ReadFile(SystemFiles(), "/proc/sys/kernel/random/boot_id");
  return text ? std::string(Trim(*text)) : std::string();
}

}  // namespace mrb::platform
