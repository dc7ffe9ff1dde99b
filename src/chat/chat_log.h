#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "chat/record.h"
#include "platform/files.h"

namespace mrb::chat {

/// The log files of the chat: `<channel>.log`, and `_dm.log` for all direct messages; a record a
/// line. Not thread-safe.
class ChatLog {
 public:
  static constexpr std::string_view kDirect = "_dm";

  ChatLog(platform::FileSystem& files, std::string folder)
      : files_(files), folder_(std::move(folder)) {}

  /// Adds a record; it is the system's to write it out, as with any log. The folder is made.
  [[nodiscard]] Status append(std::string_view name, const Record& record);

  struct Content {
    std::uint64_t lines = 0;      ///< in the whole log, empty ones left out
    std::vector<Record> records;  ///< of the last part of it
  };
  /// At most the last `most` records, and no more than lie in the log's last 512 KiB. Without a
  /// log: nothing. Lines that are no records are left out, but counted.
  [[nodiscard]] Content read(std::string_view name, std::size_t most);

  /// The channels that have a log, sorted.
  [[nodiscard]] std::vector<std::string> channels();

 private:
  [[nodiscard]] std::string path(std::string_view name) const;

  platform::FileSystem& files_;
  const std::string folder_;
};

}  // namespace mrb::chat
