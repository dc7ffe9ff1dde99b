#include "server/routes/console_tail.h"

namespace mrb::server {

FileTail ReadFileTail(platform::FileSystem& files, const std::string& path, std::uint64_t offset) {
  const auto file = files.open(path, platform::FileSystem::OpenMode::kRead);
  if (!file) return {};
  const auto size = (*file)->size();
  if (!size) return {};
  std::uint64_t start = offset > *size ? 0 : offset;
  const bool cut = *size - start > kMaxTail;
  if (cut) start = *size - kMaxTail;
  std::string text(static_cast<std::size_t>(*size - start), '\0');
  const auto read = (*file)->read_at(start, text.data(), text.size());
  if (!read) return {};
  text.resize(*read);
  // npos + 1 is 0: without a line feed there is no boundary to begin at, and everything stays.
  if (cut) text.erase(0, text.find('\n') + 1);
  return {*size, std::move(text)};
}

}  // namespace mrb::server
