#pragma once

#include <cstdint>
#include <string>

#include "vfs/model/nodes.h"

namespace mrb::vfs {

/// The pieces of a node image (docs/versioned-files.md): little-endian, nothing padded or aligned.

void AppendU32(std::string& image, std::uint32_t value);

/// Kind, name length and name.
void AppendNodeHead(std::string& image, const iFileSystemObj& node);

/// A whole file: head, current version, working bytes, every record.
void AppendFileImage(std::string& image, const File& file);

}  // namespace mrb::vfs
