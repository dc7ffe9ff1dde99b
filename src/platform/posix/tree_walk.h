#pragma once

#include <string>

#include "platform/tree_visitor.h"

namespace mrb::platform {

/// What FileSystem::walk() promises, on this system.
[[nodiscard]] Status WalkTree(const std::string& root, TreeVisitor& visitor);

}  // namespace mrb::platform
