#include "platform/paths.h"

namespace mrb::platform {

PathStyle SystemPathStyle() {
  return PathStyle::kPosix;
}

}  // namespace mrb::platform
