#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mrb::diff {

/// A file of a tree.
struct TreeFile {
  std::string path;  ///< below the tree's root, with "/"
  std::uint32_t version = 0;
  std::string_view bytes;
};

/// One side of a directory diff.
struct TreeSide {
  std::string_view root;        ///< the tree's path or name, shown to the reader
  std::vector<TreeFile> files;  ///< in any order; a path at most once
  std::string moment;           ///< when it was so; empty: now
};

/// The files that differ or exist on one side only, in the order of their paths, in a frame. Files
/// are identical when their bytes are. A differing file is followed by what names it on either
/// side: " @A <root>/<path> (v<version>) , @B <root>/<path> (v<version>)". Throws std::bad_alloc.
/// Any thread.
[[nodiscard]] std::string DirectoryDiff(TreeSide a, TreeSide b);

}  // namespace mrb::diff
