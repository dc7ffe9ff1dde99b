#include "chat/chat_log.h"

#include <algorithm>

#include "common/text.h"
#include "platform/paths.h"

namespace mrb::chat {
namespace {

constexpr std::string_view kEnding = ".log";
constexpr std::size_t kTail = std::size_t{512} << 10U;
constexpr std::size_t kPiece = std::size_t{256} << 10U;

/// Counts lines that are not empty over the pieces of a file, so that a log of any length takes no
/// memory, and keeps the last bytes.
class TailReader {
 public:
  void add(std::string_view bytes) {
    for (const char c : bytes) {
      if (c == '\n') {
        end_line();
      } else {
        // A carriage return counts as text only when something other than the line's end follows.
        filled_ |= pending_return_ || c != '\r';
        pending_return_ = c == '\r';
      }
    }
    tail_.append(bytes);
    if (tail_.size() > kTail + kPiece) tail_.erase(0, tail_.size() - kTail);
  }

  std::uint64_t lines() {
    end_line();
    return lines_;
  }

  [[nodiscard]] std::string_view tail() const { return tail_; }

 private:
  void end_line() {
    lines_ += filled_ ? 1 : 0;
    filled_ = false;
    pending_return_ = false;
  }

  std::uint64_t lines_ = 0;
  bool filled_ = false;
  bool pending_return_ = false;
  std::string tail_;
};

}  // namespace

std::string ChatLog::path(std::string_view name) const {
  return platform::JoinPath(folder_, std::string(name) + std::string(kEnding));
}

Status ChatLog::append(std::string_view name, const Record& record) {
  using Mode = platform::FileSystem::OpenMode;
  auto file = files_.open(path(name), Mode::kAppendNew);
  if (!file && file.error().kind == ErrorKind::kNotFound) {
    if (Status made = platform::MakeDirectories(files_, folder_); !made) return made;
    file = files_.open(path(name), Mode::kAppendNew);
  }
  if (!file) return std::unexpected(std::move(file.error()));
  const auto before = (*file)->size();
  Status written = (*file)->append(RecordJson(record) + "\n");
  // Half a line would swallow the next one.
  if (!written && before) (void)(*file)->truncate(*before);
  return written;
}

ChatLog::Content ChatLog::read(std::string_view name, std::size_t most) {
  const auto file = files_.open(path(name), platform::FileSystem::OpenMode::kRead);
  if (!file) return {};
  TailReader reader;
  std::string piece(kPiece, '\0');
  for (std::uint64_t at = 0;;) {
    const auto got = (*file)->read_at(at, piece.data(), piece.size());
    if (!got || *got == 0) break;
    reader.add(std::string_view(piece).substr(0, *got));
    at += *got;
  }
  Content content;
  content.lines = reader.lines();
  for (const std::string_view line : Split(reader.tail(), '\n')) {
    if (auto record = ParseRecord(line)) content.records.push_back(std::move(*record));
  }
  if (content.records.size() > most) {
    content.records.erase(content.records.begin(),
                          content.records.end() - static_cast<std::ptrdiff_t>(most));
  }
  return content;
}

std::vector<std::string> ChatLog::channels() {
  std::vector<std::string> names;
  const auto entries = files_.list(folder_);
  if (!entries) return names;
  for (const platform::DirectoryEntry& entry : *entries) {
    const std::string_view name = entry.name;
    if (!name.ends_with(kEnding)) continue;
    const std::string_view channel = name.substr(0, name.size() - kEnding.size());
    if (IsChannelName(channel)) names.emplace_back(channel);
  }
  std::ranges::sort(names);
  return names;
}

}  // namespace mrb::chat
