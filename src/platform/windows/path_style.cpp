#include "platform/paths.h"

namespace mrb::platform {

PathStyle SystemPathStyle() {
  return PathStyle::kWindows;
}

}  // namespace mrb::platform
