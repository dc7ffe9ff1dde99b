#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/system_info.h"
#include "vfs/diff/file_diff.h"
#include "vfs/model/nodes.h"

namespace mrb::vfs {

/// Lets a diff take what memory the system has at that moment; anything when it will not say.
[[nodiscard]] diff::MemoryCheck WithinMemory(std::function<platform::SystemMemory()> read);

/// The newest versions of two files, line by line.
[[nodiscard]] std::string DiffFiles(const File& a, const File& b);

/// Two folders, by the newest versions of the files in them, under the names given.
[[nodiscard]] std::string DiffDirectories(const Directory& a, std::string_view root_a,
                                          const Directory& b, std::string_view root_b);

}  // namespace mrb::vfs
