#include "platform/system_info.h"

#include <malloc.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "common/text.h"
#include "platform/files.h"

namespace mrb::platform {

namespace {

std::string ReadProc(const char* path) {
  return ReadFile(SystemFiles(), path).value_or("");
}

/// The number in the line "<name>:   <number> kB", in bytes.
std::uint64_t BytesOf(std::string_view table, std::string_view name) {
  for (const std::string_view line : Split(table, '\n')) {
    const auto words = SplitWords(line);
    if (words.size() >= 2 && words[0] == name) return ParseDecimal(words[1]).value_or(0) * 1024;
  }
  return 0;
}

}  // namespace

std::string BootId() {
  const auto text = ReadFile(SystemFiles(), "/proc/sys/kernel/random/boot_id");
  return text ? std::string(Trim(*text)) : std::string();
}

SystemMemory ReadSystemMemory() {
  const std::string table = ReadProc("/proc/meminfo");
  return {BytesOf(table, "MemTotal:"), BytesOf(table, "MemAvailable:")};
}

std::uint64_t ProcessResidentBytes() {
  const std::string table = ReadProc("/proc/self/statm");
  const auto words = SplitWords(table);
  if (words.size() < 2) return 0;
  return ParseDecimal(words[1]).value_or(0) * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

void ReturnFreedMemory() {
  static_cast<void>(::malloc_trim(0));
}

}  // namespace mrb::platform
