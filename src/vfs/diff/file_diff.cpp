#include "vfs/diff/file_diff.h"

#include <new>
#include <stdexcept>

#include "vfs/diff/text_lines.h"

namespace mrb::diff {
namespace {

constexpr std::string_view kSame = "[ ] ";
constexpr std::string_view kRemoved = "[-] ";
constexpr std::string_view kAdded = "[+] ";
constexpr std::string_view kEnd = "=== END DIFF ===\n";
constexpr std::size_t kMarkBytes = kSame.size() + 1;  // and the line feed

std::string Head(const FileSide& side1, const FileSide& side2) {
  std::string head = "=== FILE DIFF ===\nFILE1: ";
  head.append(side1.label).append("  (v").append(std::to_string(side1.version));
  head.append(")\nFILE2: ").append(side2.label);
  head.append("  (v").append(std::to_string(side2.version));
  return head.append(")\nlegend: [ ] same   [-] only in FILE1   [+] only in FILE2\n---\n");
}

std::string Sizes(const FileSide& side1, const FileSide& side2) {
  return std::to_string(side1.bytes.size()) + " vs " + std::to_string(side2.bytes.size()) +
         " bytes)";
}

std::string Refusal(const FileSide& side1, const FileSide& side2) {
  return "not enough free memory to diff these files right now (" + Sizes(side1, side2) +
         " — close some things to free RAM and try again";
}

bool IsBinary(const FileSide& side) {
  return side.bytes.find('\0') != std::string_view::npos;
}

std::string_view MarkOf(LineChange change) {
  return change == LineChange::kSame ? kSame : change == LineChange::kRemoved ? kRemoved : kAdded;
}

std::string TextDiff(const FileSide& side1, const FileSide& side2, const MemoryCheck& may_take) {
  const std::vector<TextRun> runs = CompareTexts(side1.bytes, side2.bytes, may_take);
  std::string text = Head(side1, side2);
  std::uint64_t size = text.size() + kEnd.size();
  for (const TextRun& run : runs) size += run.text.size() + run.count * kMarkBytes;
  if (may_take && !may_take(size)) throw std::bad_alloc();
  text.reserve(size);
  for (const TextRun& run : runs) {
    const std::string_view mark = MarkOf(run.change);
    ForEachLine(run.text,
                [&](std::string_view line) { text.append(mark).append(line).push_back('\n'); });
  }
  return text.append(kEnd);
}

}  // namespace

std::string FileDiff(const FileSide& side1, const FileSide& side2, const MemoryCheck& may_take) {
  if (IsBinary(side1) || IsBinary(side2)) return "binary files differ (" + Sizes(side1, side2);
  try {
    return TextDiff(side1, side2, may_take);
  } catch (const std::bad_alloc&) {
    return Refusal(side1, side2);
  } catch (const std::length_error&) {
    return Refusal(side1, side2);
  }
}

}  // namespace mrb::diff
