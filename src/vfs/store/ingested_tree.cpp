#include "vfs/store/ingested_tree.h"

#include "common/text.h"
#include "vfs/model/reserved_names.h"

namespace mrb::vfs {
namespace {

constexpr std::size_t kMaxSamples = 200;

std::string Extension(std::string_view path) {
  const std::string_view name = BaseName(path);
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos ? "(no ext)" : LowerAscii(name.substr(dot + 1));
}

}  // namespace

void IngestReport::exclude(std::string_view path, std::uint64_t size) {
  ++excluded_files;
  excluded_bytes += size;
  ++excluded_by_extension[Extension(path)];
}

void IngestReport::add(const File& file) {
  for (const VersionRecord& record : file.history) {
    history_bytes += record.bytes.bytes().size();
  }
  if (file.is_gone()) return;
  const std::uint64_t size = file.history.back().bytes.bytes().size();
  history_bytes -= size;
  current_bytes += size;
  ++files;
  ++by_extension[Extension(file.name)];
  if (sample.size() < kMaxSamples) sample.push_back(file.name);
}

}  // namespace mrb::vfs
