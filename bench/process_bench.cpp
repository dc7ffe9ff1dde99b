// What a user waits for: whole `mb` processes through a resident, and the start of the resident
// itself.
//
//   process_bench <mb> <data home>
//
// Prints medians beside the limits of the machine: an empty static program, and one loopback
// request.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/files.h"
#include "platform/sockets.h"

namespace {

using Clock = std::chrono::steady_clock;
using mrb::platform::Milliseconds;
using mrb::platform::Socket;

constexpr int kRuns = 200;
constexpr int kStarts = 15;
constexpr std::uint16_t kPort = 29871;

double MillisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double Median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

double MedianOf(int runs, const std::function<void()>& work) {
  std::vector<double> times;
  for (int i = 0; i < runs; ++i) {
    const auto start = Clock::now();
    work();
    times.push_back(MillisecondsSince(start));
  }
  return Median(times);
}

pid_t Start(std::vector<std::string> words) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&quiet, 2, "/dev/null", O_WRONLY, 0);
  pid_t child = -1;
  const int failed =
      ::posix_spawn(&child, arguments[0], &quiet, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&quiet);
  return failed == 0 ? child : -1;
}

void Run(const std::vector<std::string>& words, int expected_status = 0) {
  int status = 0;
  const pid_t child = Start(words);
  if (child < 0 || ::waitpid(child, &status, 0) != child ||
      WEXITSTATUS(status) != expected_status) {
    std::fprintf(stderr, "failed: %s\n", words.back().c_str());
    std::exit(1);
  }
}

bool Request(const std::string& text) {
  auto socket = Socket::connect_loopback(kPort, Milliseconds{4000});
  if (!socket || !socket->send_all(text)) return false;
  std::string answer(4096, '\0');
  bool any = false;
  for (;;) {
    const auto got = socket->receive(answer.data(), answer.size());
    if (!got || *got == 0) return any;
    any = true;
  }
}

bool Health() {
  return Request("GET /health HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
}

pid_t StartResident(const std::string& mb, const std::string& home) {
  const pid_t child = Start({mb, "--port", std::to_string(kPort), "--conf", home, "serve"});
  while (!Health()) std::this_thread::sleep_for(std::chrono::microseconds(200));
  return child;
}

void EndResident(pid_t resident) {
  (void)Request("POST /shutdown HTTP/1.1\r\nX-Mrb-Control: shutdown\r\nContent-Length: 0\r\n\r\n");
  ::waitpid(resident, nullptr, 0);
}

double ResidentMegabytes(pid_t process) {
  const std::string path = "/proc/" + std::to_string(process) + "/statm";
  unsigned long pages = 0;
  if (std::FILE* file = std::fopen(path.c_str(), "r")) {
    if (std::fscanf(file, "%*u %lu", &pages) != 1) pages = 0;
    std::fclose(file);
  }
  return static_cast<double>(pages) * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

void BenchStart(const std::string& mb, const std::string& home) {
  std::vector<double> times;
  double megabytes = 0;
  for (int i = 0; i < kStarts; ++i) {
    const std::string empty_home = home + "/empty-" + std::to_string(i);
    const auto start = Clock::now();
    const pid_t resident = StartResident(mb, empty_home);
    times.push_back(MillisecondsSince(start));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    megabytes = std::max(megabytes, ResidentMegabytes(resident));
    EndResident(resident);
  }
  std::printf("resident, start to first /health, empty home  %7.2f ms   (aim: <= 30)\n",
              Median(times));
  std::printf("resident, idle                                %7.2f MB   (aim: <= 12)\n", megabytes);
}

void BenchCommands(const std::string& mb, const std::string& home) {
  const pid_t resident = StartResident(mb, home);
  const std::vector<std::string> base{mb, "--port", std::to_string(kPort)};
  const auto command = [&](const std::string& line) {
    std::vector<std::string> words = base;
    words.push_back(line);
    return words;
  };
  int n = 0;
  Run(command("memory.add me, bench, topic, , warm-up"));
  const double add = MedianOf(kRuns, [&] {
    Run(command("memory.addmemo me, bench, topic" + std::to_string(++n) + ", , note, some words"));
  });
  const double retrieve =
      MedianOf(kRuns, [&] { Run(command("memory.retrieve me, bench, topic")); });
  const double request = MedianOf(kRuns, [] { (void)Health(); });
  const double empty = MedianOf(kRuns, [&] { Run({mb, "--port", "0"}, 1); });
  std::printf("mb memory.addmemo, a process                  %7.2f ms   (aim: <= 2.5)\n", add);
  std::printf("mb memory.retrieve, a process                 %7.2f ms   (aim: <= 2.0)\n", retrieve);
  std::printf("  one loopback request alone                  %7.2f ms\n", request);
  std::printf("  mb ending at once (a refused option)        %7.2f ms\n", empty);
  EndResident(resident);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: process_bench <mb> <data home>\n");
    return 2;
  }
  if (!mrb::platform::StartSockets()) return 1;
  BenchStart(argv[1], argv[2]);
  BenchCommands(argv[1], argv[2]);
  return 0;
}
