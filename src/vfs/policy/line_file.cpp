#include "vfs/policy/line_file.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "common/text.h"
#include "platform/file_lock.h"
#include "platform/files.h"

namespace mrb::vfs {
namespace {

using platform::PathStyle;

// A hundred thousand long paths; beyond, it is not one of our files.
constexpr std::uint64_t kMaxBytes = std::uint64_t{64} << 20U;

// A change takes a few milliseconds.
constexpr int kLockAttempts = 100;
constexpr std::chrono::milliseconds kLockPause{20};

Result<platform::FileLock> AcquirePatiently(const std::string& path) {
  for (int i = 1;; ++i) {
    auto lock = platform::FileLock::try_acquire(path);
    if (lock || lock.error().kind != ErrorKind::kBusy || i == kLockAttempts) return lock;
    std::this_thread::sleep_for(kLockPause);
  }
}

std::string_view WithoutLastSeparator(std::string_view path, PathStyle style) {
  const bool separates =
      path.ends_with('/') || (style == PathStyle::kWindows && path.ends_with('\\'));
  if (separates && path.size() > 1) path.remove_suffix(1);
  return path;
}

char FoldedForWindows(char c) {
  if (c == '/') return '\\';
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr std::string_view kLineFeed = "%0A";
constexpr std::string_view kReturn = "%0D";
constexpr std::string_view kPercent = "%25";

}  // namespace

Result<std::vector<std::string>> LineFile::read() const {
  std::vector<std::string> lines;
  const auto status = files_.status(path_);
  if (!status) {
    if (status.error().kind == ErrorKind::kNotFound) return lines;
    return std::unexpected(status.error());
  }
  if (status->size > kMaxBytes) {
    return Fail(ErrorKind::kCorrupt, "cannot read " + path_ + ": it is too large");
  }
  const auto text = platform::ReadFile(files_, path_);
  if (!text) return std::unexpected(text.error());
  for (const std::string_view line : Split(*text, '\n')) lines.emplace_back(line);
  if (lines.back().empty()) lines.pop_back();  // what follows the last line feed
  return lines;
}

Result<bool> LineFile::edit(const std::function<bool(std::vector<std::string>&)>& change) {
  const std::string folder = platform::ParentPath(path_);
  if (const Status made = platform::MakeDirectories(files_, folder); !made) {
    return std::unexpected(made.error());
  }
  const auto lock = AcquirePatiently(path_ + ".lock");
  if (!lock) return std::unexpected(lock.error());
  auto lines = read();
  if (!lines) return std::unexpected(lines.error());
  if (!change(*lines)) return false;
  std::string text;
  for (const std::string& line : *lines) text.append(line).push_back('\n');
  if (const Status written = platform::ReplaceFile(files_, path_, text); !written) {
    return std::unexpected(written.error());
  }
  return true;
}

std::string PathToLine(std::string_view path) {
  std::string line;
  for (std::size_t i = 0; i < path.size(); ++i) {
    const std::string_view rest = path.substr(i);
    if (path[i] == '\n') {
      line += kLineFeed;
    } else if (path[i] == '\r') {
      line += kReturn;
    } else if (rest.starts_with(kLineFeed) || rest.starts_with(kReturn) ||
               rest.starts_with(kPercent)) {
      line += kPercent;
    } else {
      line += path[i];
    }
  }
  return line;
}

std::string PathFromLine(std::string_view line) {
  std::string path;
  while (!line.empty()) {
    std::size_t used = kPercent.size();
    if (line.starts_with(kLineFeed)) {
      path += '\n';
    } else if (line.starts_with(kReturn)) {
      path += '\r';
    } else if (line.starts_with(kPercent)) {
      path += '%';
    } else {
      path += line.front();
      used = 1;
    }
    line.remove_prefix(used);
  }
  return path;
}

bool SamePath(std::string_view a, std::string_view b, PathStyle style) {
  a = WithoutLastSeparator(a, style);
  b = WithoutLastSeparator(b, style);
  if (style == PathStyle::kPosix) return a == b;
  return std::ranges::equal(a, b, {}, FoldedForWindows, FoldedForWindows);
}

}  // namespace mrb::vfs
