#include "vfs/model/node_image.h"

namespace mrb::vfs {
namespace {

void AppendBytes(std::string& image, std::string_view bytes) {
  AppendU32(image, static_cast<std::uint32_t>(bytes.size()));
  image += bytes;
}

void AppendVersion(std::string& image, std::uint32_t version, const AuthorName& author,
                   const VersionStamp& stamp) {
  AppendU32(image, version);
  image += author.padded();
  for (const std::uint32_t field :
       {stamp.year, stamp.month, stamp.day, stamp.hour, stamp.minute, stamp.second}) {
    AppendU32(image, field);
  }
}

}  // namespace

void AppendU32(std::string& image, std::uint32_t value) {
  for (unsigned shift = 0; shift < 32; shift += 8) {
    image.push_back(static_cast<char>((value >> shift) & 0xffU));
  }
}

void AppendNodeHead(std::string& image, const iFileSystemObj& node) {
  image.push_back(static_cast<char>(node.kind));
  AppendBytes(image, node.name);
}

void AppendFileImage(std::string& image, const File& file) {
  AppendNodeHead(image, file);
  AppendVersion(image, file.version, file.author, file.stamp);
  AppendBytes(image, file.content.bytes());
  AppendU32(image, static_cast<std::uint32_t>(file.history.size()));
  for (const VersionRecord& record : file.history) {
    AppendVersion(image, record.version, record.author, record.stamp);
    AppendBytes(image, record.bytes.bytes());
  }
}

}  // namespace mrb::vfs
