// Searches a folder's files in memory, as grep's engine does: search_bench <folder> [pattern ...]
//
// A pattern may begin with "-i " or "-F ". Reading the files is not measured. Beside it, on the
// same folder: rg -c --no-ignore <pattern> | wc -l, grep -rE.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "vfs/search/line_search.h"

namespace mrb::bench {
namespace {

std::string ReadWhole(const std::filesystem::path& path) {
  std::string text;
  std::FILE* const file = std::fopen(path.string().c_str(), "rb");
  if (file == nullptr) return text;
  char block[65'536];
  while (std::feof(file) == 0 && std::ferror(file) == 0) {
    text.append(block, std::fread(block, 1, sizeof block, file));
  }
  static_cast<void>(std::fclose(file));
  return text;
}

std::vector<std::string> ReadFolder(const std::filesystem::path& folder) {
  std::vector<std::string> texts;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) texts.push_back(ReadWhole(entry.path()));
  }
  return texts;
}

std::uint64_t CountLines(const search::Matcher& matcher, const std::vector<std::string>& texts) {
  std::atomic<std::size_t> next = 0;
  std::atomic<std::uint64_t> lines = 0;
  const auto work = [&] {
    search::LineSearch search(matcher);
    std::uint64_t found = 0;
    for (std::size_t at = next++; at < texts.size(); at = next++) {
      search.search(texts[at], [&](const search::LineMatch&) { return ++found != 0; });
    }
    lines += found;
  };
  std::vector<std::jthread> threads;
  for (unsigned i = 0; i < std::max(1U, std::thread::hardware_concurrency()); ++i) {
    threads.emplace_back(work);
  }
  threads.clear();
  return lines;
}

void Measure(std::string_view pattern, const std::vector<std::string>& texts) {
  search::PatternOptions options;
  options.ignore_case = pattern.starts_with("-i ");
  options.literal = pattern.starts_with("-F ");
  const auto matcher = search::Matcher::make(
      pattern.substr(options.ignore_case || options.literal ? 3 : 0), options);
  if (!matcher) {
    std::printf("%s\n", matcher.error().text.c_str());
    return;
  }
  constexpr int kRuns = 5;
  double best = 1e9;
  std::uint64_t lines = 0;
  for (int run = 0; run < kRuns; ++run) {
    const auto start = std::chrono::steady_clock::now();
    lines = CountLines(*matcher, texts);
    const std::chrono::duration<double, std::milli> spent =
        std::chrono::steady_clock::now() - start;
    best = std::min(best, spent.count());
  }
  std::printf("%8.1f ms  %8llu lines  %.*s\n", best, static_cast<unsigned long long>(lines),
              static_cast<int>(pattern.size()), pattern.data());
}

}  // namespace
}  // namespace mrb::bench

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: search_bench <folder> [pattern ...]\n");
    return 2;
  }
  const auto texts = mrb::bench::ReadFolder(argv[1]);
  std::size_t bytes = 0;
  for (const std::string& text : texts) bytes += text.size();
  std::printf("%zu files, %zu bytes\n", texts.size(), bytes);
  std::vector<std::string_view> patterns(argv + 2, argv + argc);
  if (patterns.empty()) {
    patterns = {"deprecated_since", "(malloc|calloc|realloc)\\s*\\(", "[a-z]+_[0-9]{3,}[a-z]+",
                "-i buffer", "return"};
  }
  for (const std::string_view pattern : patterns) mrb::bench::Measure(pattern, texts);
  return 0;
}
