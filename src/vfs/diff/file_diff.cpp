#include "diff/file_diff.h"

#include <algorithm>
#include <new>
#include <span>
#include <stdexcept>
#include <vector>

#include "diff/line_ids.h"
#include "diff/line_script.h"
#include "diff/text_lines.h"

namespace mrb::diff {
namespace {

using Lines = std::span<const std::string_view>;

constexpr std::string_view kSame = "[ ] ";
constexpr std::string_view kRemoved = "[-] ";
constexpr std::string_view kAdded = "[+] ";
constexpr std::string_view kEnd = "=== END DIFF ===\n";
constexpr std::size_t kMarkBytes = kSame.size() + 1;  // and the line feed

/// Line numbers are 32 bits wide, and the table of them holds twice as many.
constexpr std::uint64_t kMostLines = std::uint64_t{1} << 30U;

/// Per line: its view, numbers, table slots and places in the two indexes.
constexpr std::uint64_t kBytesPerLine = 128;

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

void AppendLine(std::string& text, std::string_view mark, std::string_view line) {
  text.append(mark).append(line).push_back('\n');
}

/// The diff of two texts, stage by stage.
class TextDiff {
 public:
  TextDiff(const FileSide& side1, const FileSide& side2, const MemoryCheck& may_take)
      : may_take_(may_take),
        head_(Head(side1, side2)),
        ends_(CutSharedEnds(side1.bytes, side2.bytes)) {}

  std::string run() {
    const std::uint64_t lines =
        std::uint64_t{CountLines(ends_.middle1)} + CountLines(ends_.middle2);
    if (lines > kMostLines) throw std::bad_alloc();
    take(lines * kBytesPerLine);
    lines1_ = SplitLines(ends_.middle1);
    lines2_ = SplitLines(ends_.middle2);
    trim();
    runs_ = CompareLines(NumberLines(middle1_, middle2_));
    return write();
  }

 private:
  void take(std::uint64_t bytes) const {
    if (may_take_ && !may_take_(bytes)) throw std::bad_alloc();
  }

  /// The shared lines that comparing bytes has not found: those around a missing last "\n".
  void trim() {
    middle1_ = lines1_;
    middle2_ = lines2_;
    const auto [end1, end2] = std::ranges::mismatch(middle1_, middle2_);
    same_before_ = static_cast<std::size_t>(end1 - middle1_.begin());
    middle1_ = middle1_.subspan(same_before_);
    middle2_ = middle2_.subspan(same_before_);
    while (!middle1_.empty() && !middle2_.empty() && middle1_.back() == middle2_.back()) {
      middle1_ = middle1_.first(middle1_.size() - 1);
      middle2_ = middle2_.first(middle2_.size() - 1);
    }
  }

  [[nodiscard]] Lines lines_of(const LineRun& run) const {
    const Lines side = run.change == LineChange::kAdded ? middle2_ : middle1_;
    return side.subspan(run.lines.begin, run.lines.size());
  }

  /// At most: the shared ends are counted with all the bytes of side 1.
  [[nodiscard]] std::uint64_t written_size() const {
    std::uint64_t size = head_.size() + kEnd.size() + 2 * kMarkBytes;
    for (const std::string_view text : {ends_.prefix, ends_.middle1, ends_.suffix}) {
      size += text.size() + CountLines(text) * kSame.size();
    }
    for (const LineRun& run : runs_) {
      if (run.change != LineChange::kAdded) continue;
      for (const std::string_view line : lines_of(run)) size += line.size() + kMarkBytes;
    }
    return size;
  }

  std::string write() {
    const std::uint64_t size = written_size();
    take(size);
    std::string text;
    text.reserve(size);
    text += head_;
    const auto same = [&](std::string_view line) { AppendLine(text, kSame, line); };
    ForEachLine(ends_.prefix, same);
    std::ranges::for_each(Lines(lines1_).first(same_before_), same);
    for (const LineRun& run : runs_) {
      const std::string_view mark = run.change == LineChange::kSame      ? kSame
                                    : run.change == LineChange::kRemoved ? kRemoved
                                                                         : kAdded;
      for (const std::string_view line : lines_of(run)) AppendLine(text, mark, line);
    }
    std::ranges::for_each(Lines(lines1_).subspan(same_before_ + middle1_.size()), same);
    ForEachLine(ends_.suffix, same);
    return text.append(kEnd);
  }

  const MemoryCheck& may_take_;
  std::string head_;
  SharedEnds ends_;
  std::vector<std::string_view> lines1_;  // of the middle that the bytes alone have left
  std::vector<std::string_view> lines2_;
  std::size_t same_before_ = 0;
  Lines middle1_;  // what differs at both ends
  Lines middle2_;
  std::vector<LineRun> runs_;
};

}  // namespace

std::string FileDiff(const FileSide& side1, const FileSide& side2, const MemoryCheck& may_take) {
  if (IsBinary(side1) || IsBinary(side2)) return "binary files differ (" + Sizes(side1, side2);
  try {
    return TextDiff(side1, side2, may_take).run();
  } catch (const std::bad_alloc&) {
    return Refusal(side1, side2);
  } catch (const std::length_error&) {
    return Refusal(side1, side2);
  }
}

}  // namespace mrb::diff
