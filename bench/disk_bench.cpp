// What the file service costs beside the system's own limits.
//
//   disk_bench <tree> <folder on the disk>
//   disk_bench --replace <folder on the disk>     only the row of the replaced files
//
// Prints medians: a walk of <tree> beside asking for the status of every file in it, again and
// again and once a second (that row is processor time), reading it all, two files replaced safely
// in <folder>, and flushes of one, two and three files at once there. <folder> is left as it was.

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/files.h"
#include "platform/paths.h"
#include "platform/sync_all.h"
#include "platform/tree_visitor.h"

namespace {

using namespace mrb::platform;
using Clock = std::chrono::steady_clock;

constexpr int kWalks = 41;
constexpr int kSeconds = 11;
constexpr int kReads = 7;
constexpr int kFlushes = 101;
constexpr std::size_t kMaxFiles = 3;

double MedianOf(int runs, const std::function<void()>& work) {
  std::vector<double> times;
  for (int i = 0; i < runs; ++i) {
    const auto start = Clock::now();
    work();
    times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }
  std::ranges::sort(times);
  return times[times.size() / 2];
}

double ThreadMilliseconds() {
  timespec used{};
  if (::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used) != 0) std::abort();
  return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

/// The processor time of work that is done once a second, when the caches hold other things.
double MedianOnceASecond(const std::function<void()>& work) {
  std::vector<double> times;
  for (int i = 0; i < kSeconds; ++i) {
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const double before = ThreadMilliseconds();
    work();
    times.push_back(ThreadMilliseconds() - before);
  }
  std::ranges::sort(times);
  return times[times.size() / 2];
}

void Row(const std::string& label, double milliseconds, const char* remark = "") {
  std::printf("%-34s  %8.2f ms  %s\n", label.c_str(), milliseconds, remark);
}

class Paths : public TreeVisitor {
 public:
  bool enter(std::string_view) override { return true; }
  void file(std::string_view path, const FileStatus&) override { names.emplace_back(path); }
  void skipped(std::string_view, Skipped) override {}
  std::vector<std::string> names;
};

class Count : public TreeVisitor {
 public:
  explicit Count(FolderMemory* memory) : memory_(memory) {}
  bool enter(std::string_view) override { return true; }
  void file(std::string_view, const FileStatus& status) override { bytes += status.size; }
  void skipped(std::string_view, Skipped) override {}
  FolderMemory* memory() override { return memory_; }
  std::uint64_t bytes = 0;

 private:
  FolderMemory* memory_;
};

/// Reads every file whole; thread i of n takes every n-th.
void ReadAll(const std::string& root, const std::vector<std::string>& names, unsigned threads) {
  std::vector<std::thread> readers;
  readers.reserve(threads);
  for (unsigned first = 0; first < threads; ++first) {
    readers.emplace_back([&, first] {
      for (std::size_t i = first; i < names.size(); i += threads) {
        if (!ReadFile(SystemFiles(), JoinPath(root, names[i]))) std::abort();
      }
    });
  }
  for (std::thread& reader : readers) reader.join();
}

int MeasureWalk(const std::string& root) {
  Paths paths;
  const int folder = ::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (!SystemFiles().walk(root, paths) || folder < 0) {
    std::fprintf(stderr, "cannot walk %s\n", root.c_str());
    return 1;
  }
  const auto ask = [&] {
    struct stat info{};
    for (const std::string& name : paths.names) {
      if (::fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) std::abort();
    }
  };
  Row("status of each file", MedianOf(kWalks, ask));
  Row("status of each file, once a second", MedianOnceASecond(ask));
  for (const unsigned threads : {1U, 2U}) {
    Row("read every file, " + std::to_string(threads) + " thread(s)",
        MedianOf(kReads, [&] { ReadAll(root, paths.names, threads); }));
  }
  FolderMemory memory;
  for (FolderMemory* kept : {static_cast<FolderMemory*>(nullptr), &memory}) {
    const double walk = MedianOf(kWalks, [&] {
      Count count(kept);
      if (!SystemFiles().walk(root, count)) std::abort();
    });
    if (kept == nullptr) {
      Row("first walk of the tree", walk);
    } else {
      Row("walk that remembers", walk, "may take 1.3 x the status of each file");
    }
  }
  ::close(folder);
  return 0;
}

/// The least that a save needs which survives a crash: the file and its mirror copy.
int MeasureReplacements(const std::string& folder) {
  const std::string content(4096, 'x');
  const std::string paths[] = {JoinPath(folder, "working"), JoinPath(folder, "mirror")};
  Row("two replaced files", MedianOf(kFlushes, [&] {
        for (const std::string& path : paths) {
          if (!ReplaceFile(SystemFiles(), path, content)) std::abort();
        }
      }));
  for (const std::string& path : paths) {
    if (!SystemFiles().remove_file(path)) return 1;
  }
  return 0;
}

int MeasureFlushes(const std::string& folder) {
  std::vector<std::unique_ptr<OpenFile>> files;
  std::vector<SyncTarget> targets;
  for (std::size_t i = 0; i < kMaxFiles; ++i) {
    const std::string path = JoinPath(folder, "flush" + std::to_string(i));
    auto file = SystemFiles().open(path, FileSystem::OpenMode::kReplace);
    if (!file) {
      std::fprintf(stderr, "%s\n", file.error().text.c_str());
      return 1;
    }
    static_cast<void>(SystemFiles().remove_file(path));
    files.push_back(std::move(*file));
    targets.emplace_back(files.back().get());
  }
  const std::string page(4096, 'x');
  const auto write = [&](std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      if (!files[i]->append(page)) std::abort();
    }
  };
  for (std::size_t count = 1; count <= kMaxFiles; ++count) {
    const double together = MedianOf(kFlushes, [&] {
      write(count);
      if (!SyncAll(SystemFiles(), std::span(targets).first(count))) std::abort();
    });
    const double singly = MedianOf(kFlushes, [&] {
      write(count);
      for (std::size_t i = 0; i < count; ++i) {
        if (!files[i]->sync()) std::abort();
      }
    });
    const std::string number = std::to_string(count);
    Row("flush " + number + " files one by one", singly);
    Row("flush " + number + " files together", together);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: disk_bench <tree>|--replace <folder on the disk>\n");
    return 2;
  }
  if (std::string_view(argv[1]) == "--replace") return MeasureReplacements(argv[2]);
  const int walked = MeasureWalk(argv[1]);
  return MeasureReplacements(argv[2]) | MeasureFlushes(argv[2]) | walked;
}
