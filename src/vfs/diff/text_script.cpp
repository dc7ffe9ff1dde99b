#include "vfs/diff/text_script.h"

#include <algorithm>
#include <new>
#include <span>

#include "vfs/diff/line_ids.h"
#include "vfs/diff/text_lines.h"

namespace mrb::diff {
namespace {

using Lines = std::span<const std::string_view>;

/// Line numbers are 32 bits wide, and the table of them holds twice as many.
constexpr std::uint64_t kMaxLines = std::uint64_t{1} << 30U;

/// Per line: its view, numbers, table slots and places in the two indexes, and at worst a run of
/// its own.
constexpr std::uint64_t kBytesPerLine = 128 + sizeof(TextRun);

/// The bytes of neighbouring lines of `side`, with the "\n" of the last one where it has one.
std::string_view TextOf(Lines lines, std::string_view side) {
  if (lines.empty()) return {};
  const char* begin = lines.front().data();
  const char* end = lines.back().data() + lines.back().size();
  if (end != side.data() + side.size()) ++end;
  return {begin, end};
}

/// The comparison of two texts, stage by stage.
class Comparison {
 public:
  Comparison(std::string_view text1, std::string_view text2, const MemoryCheck& may_take)
      : may_take_(may_take), ends_(CutSharedEnds(text1, text2)) {}

  std::vector<TextRun> run() {
    const std::uint64_t lines =
        std::uint64_t{CountLines(ends_.middle1)} + CountLines(ends_.middle2);
    if (lines > kMaxLines) throw std::bad_alloc();
    take(lines * kBytesPerLine);
    lines1_ = SplitLines(ends_.middle1);
    lines2_ = SplitLines(ends_.middle2);
    trim();
    const std::vector<LineRun> script = CompareLines(NumberLines(middle1_, middle2_));
    runs_.reserve(script.size() + 4);
    add(LineChange::kSame, CountLines(ends_.prefix), ends_.prefix);
    add(LineChange::kSame, Lines(lines1_).first(same_before_));
    for (const LineRun& run : script) add(run.change, lines_of(run));
    add(LineChange::kSame, Lines(lines1_).subspan(same_before_ + middle1_.size()));
    add(LineChange::kSame, CountLines(ends_.suffix), ends_.suffix);
    return std::move(runs_);
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

  void add(LineChange change, Lines lines) {
    const std::string_view side = change == LineChange::kAdded ? ends_.middle2 : ends_.middle1;
    add(change, lines.size(), TextOf(lines, side));
  }

  void add(LineChange change, std::uint64_t count, std::string_view text) {
    if (count == 0) return;
    runs_.push_back({change, line1_, line2_, count, text});
    if (change != LineChange::kAdded) line1_ += count;
    if (change != LineChange::kRemoved) line2_ += count;
  }

  const MemoryCheck& may_take_;
  SharedEnds ends_;
  std::vector<std::string_view> lines1_;  // of the middle that the bytes alone have left
  std::vector<std::string_view> lines2_;
  std::size_t same_before_ = 0;
  Lines middle1_;  // what differs at both ends
  Lines middle2_;
  std::vector<TextRun> runs_;
  std::uint64_t line1_ = 0;
  std::uint64_t line2_ = 0;
};

}  // namespace

std::vector<TextRun> CompareTexts(std::string_view text1, std::string_view text2,
                                  const MemoryCheck& may_take) {
  return Comparison(text1, text2, may_take).run();
}

}  // namespace mrb::diff
