#include "vfs/diff/directory_diff.h"

#include <algorithm>

namespace mrb::diff {
namespace {

std::string Reference(std::string_view root, const TreeFile& file) {
  std::string reference(root);
  if (!root.empty() && !root.ends_with('/') && !root.ends_with('\\')) reference += '/';
  return reference.append(file.path).append(" (v").append(std::to_string(file.version)).append(")");
}

std::string Heading(const TreeSide& side) {
  return std::string(side.root) + (side.moment.empty() ? "" : " @ " + side.moment);
}

/// Equal contents of one store are the same bytes in memory.
bool SameBytes(std::string_view a, std::string_view b) {
  return (a.data() == b.data() && a.size() == b.size()) || a == b;
}

/// Whether the file comes first on its side: the other side is used up, or further on.
bool ComesFirst(const std::vector<TreeFile>& files, std::size_t at,
                const std::vector<TreeFile>& others, std::size_t other) {
  if (at == files.size()) return false;
  return other == others.size() || files[at].path < others[other].path;
}

std::string Differences(const TreeSide& a, const TreeSide& b) {
  std::string lines;
  const auto line = [&](std::string_view mark, std::string_view path) {
    lines.append(mark).append(path).push_back('\n');
  };
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < a.files.size() || j < b.files.size()) {
    if (ComesFirst(a.files, i, b.files, j)) {
      line("  [only in A] ", a.files[i++].path);
    } else if (ComesFirst(b.files, j, a.files, i)) {
      line("  [only in B] ", b.files[j++].path);
    } else {
      const TreeFile& left = a.files[i++];
      const TreeFile& right = b.files[j++];
      if (SameBytes(left.bytes, right.bytes)) continue;
      line("  [differs]   ",
           left.path + " @A " + Reference(a.root, left) + " , @B " + Reference(b.root, right));
    }
  }
  return lines;
}

}  // namespace

std::string DirectoryDiff(TreeSide a, TreeSide b) {
  std::ranges::sort(a.files, {}, &TreeFile::path);
  std::ranges::sort(b.files, {}, &TreeFile::path);
  std::string text = "=== DIRECTORY DIFF ===\nA: ";
  text.append(Heading(a)).append("\nB: ").append(Heading(b));
  text += "\ndiffering files (identical files omitted to spare context):\n";
  const std::string differences = Differences(a, b);
  text += differences.empty() ? "  (none — trees are identical)\n" : differences;
  return text.append("=== END DIRECTORY DIFF ===\n");
}

}  // namespace mrb::diff
