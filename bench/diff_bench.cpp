// File diffs of generated inputs: diff_bench [--dir=<folder>] [workload ...]
//
//   scattered   20,000 lines, 10 edits anywhere
//   half        two files of 20,000 lines that share half of them
//   unrelated   two files of 5,000 lines with nothing in common but braces and blank lines
//   million     1,000,000 lines, edits near both ends
//
// With a folder, the inputs are written there for other tools: <workload>.1 and <workload>.2.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "vfs/diff/file_diff.h"

namespace mrb::bench {
namespace {

using Lines = std::vector<std::string>;
using Random = std::mt19937_64;

/// Lines as in program text: a quarter of them are braces, blanks and the like.
std::string SomeLine(Random& random) {
  static const char* const kCommon[] = {"", "}", "  }", "    return;", "{", "  break;", "#endif"};
  const std::uint64_t number = random();
  if (number % 4 == 0) return kCommon[(number / 4) % std::size(kCommon)];
  return "    value_" + std::to_string(number >> 20U) + " = compute(argument, " +
         std::to_string(number % 97) + ");";
}

Lines SomeLines(std::size_t count, Random& random) {
  Lines lines(count);
  for (std::string& line : lines) line = SomeLine(random);
  return lines;
}

struct Pair {
  Lines a, b;
};

Pair Edited(std::size_t count, const std::vector<std::size_t>& places, Random& random) {
  Pair pair{SomeLines(count, random), {}};
  pair.b = pair.a;
  for (const std::size_t place : places) pair.b[place] = SomeLine(random) + " // edited";
  return pair;
}

Pair Scattered(Random& random) {
  std::vector<std::size_t> places(10);
  for (std::size_t& place : places) place = random() % 20'000;
  return Edited(20'000, places, random);
}

Pair Half(Random& random) {
  Pair pair{SomeLines(20'000, random), {}};
  for (const std::string& line : pair.a) {
    pair.b.push_back(random() % 2 == 0 ? line : SomeLine(random));
  }
  return pair;
}

Pair Unrelated(Random& random) {
  return {SomeLines(5'000, random), SomeLines(5'000, random)};
}

Pair Million(Random& random) {
  Pair pair = Edited(1'000'000, {3, 40, 41, 999'900, 999'990}, random);
  pair.b.insert(pair.b.begin() + 20, "an added line");
  pair.b.erase(pair.b.end() - 30);
  return pair;
}

std::string Text(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text.append(line).push_back('\n');
  return text;
}

void WriteFile(const std::string& path, const std::string& text) {
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file) != text.size()) {
    std::perror(path.c_str());
  }
  if (file != nullptr) static_cast<void>(std::fclose(file));
}

void Measure(const std::string& name, const Pair& pair, const std::string& dir) {
  const std::string a = Text(pair.a);
  const std::string b = Text(pair.b);
  if (!dir.empty()) {
    WriteFile(dir + "/" + name + ".1", a);
    WriteFile(dir + "/" + name + ".2", b);
  }
  constexpr int kRuns = 7;
  std::vector<double> times;
  std::size_t size = 0;
  for (int run = 0; run < kRuns; ++run) {
    const auto start = std::chrono::steady_clock::now();
    size = diff::FileDiff({"1", 1, a}, {"2", 2, b}).size();
    const std::chrono::duration<double, std::milli> spent =
        std::chrono::steady_clock::now() - start;
    times.push_back(spent.count());
  }
  std::ranges::sort(times);
  std::printf("%-10s %8.2f ms (best %.2f), %zu bytes answered\n", name.c_str(), times[kRuns / 2],
              times[0], size);
}

}  // namespace
}  // namespace mrb::bench

int main(int argc, char** argv) {
  using mrb::bench::Pair;
  using mrb::bench::Random;
  const std::pair<const char*, std::function<Pair(Random&)>> workloads[] = {
      {"scattered", mrb::bench::Scattered},
      {"half", mrb::bench::Half},
      {"unrelated", mrb::bench::Unrelated},
      {"million", mrb::bench::Million}};
  std::string dir;
  std::vector<std::string_view> wanted;
  for (const std::string_view word : std::vector<std::string_view>(argv + 1, argv + argc)) {
    if (word.starts_with("--dir=")) {
      dir = word.substr(6);
    } else {
      wanted.push_back(word);
    }
  }
  for (const auto& [name, make] : workloads) {
    if (!wanted.empty() && std::ranges::find(wanted, name) == wanted.end()) continue;
    Random random(42);
    mrb::bench::Measure(name, make(random), dir);
  }
  return 0;
}
