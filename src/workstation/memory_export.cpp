// memory/download and memory/export: a context as a store file.

#include "memory/record/store_format.h"
#include "platform/paths.h"
#include "workstation/desk.h"
#include "workstation/memo_json.h"

namespace mrb::workstation {
namespace {

/// An answer is made in memory as a whole; beyond this a file is the better way.
constexpr std::uint64_t kMostDownloaded = std::uint64_t{64} << 20U;

/// The id as a name that is safe in a header.
std::string FileName(std::string_view id) {
  std::string name;
  for (const char c : id) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '-' || c == '_' || c == '.';
    name += plain ? c : '_';
  }
  return name + ".mrb4";
}

}  // namespace

Answer AnswerDownload(Desk& desk, const Params& params) {
  const auto access = ContextOf(desk.parts.memory.contexts(), params);
  if (!access) return std::unexpected(access.error());
  const std::string_view records = access->store->heap().bytes();
  if (records.size() > kMostDownloaded) {
    return Fail(ErrorKind::kInvalidArgument, "too large to download; export it to a file");
  }
  server::Response response;
  response.type = "application/octet-stream";
  response.headers =
      "\r\nX-Content-Type-Options: nosniff\r\nContent-Disposition: attachment; "
      "filename=\"" +
      FileName(access->context->id()) + "\"";
  response.body.reserve(memory::kMagic.size() + records.size());
  response.body.append(memory::kMagic).append(records);
  return response;
}

Answer AnswerExport(Desk& desk, const Params& params) {
  auto path = params.needed("path");
  if (!path) return std::unexpected(path.error());
  if (!platform::IsAbsolutePath(*path)) {
    return Fail(ErrorKind::kInvalidArgument, "path must be absolute");
  }
  const auto access = ContextOf(desk.parts.memory.contexts(), params);
  if (!access) return std::unexpected(access.error());
  const auto there = desk.parts.memory.options().files->status(*path);
  if (there && there->type == platform::FileStatus::Type::kDirectory) {
    *path = platform::JoinPath(*path, access->context->id() + ".mrb4");
  }
  const auto bytes = access->store->export_to(*path);
  if (!bytes) return std::unexpected(bytes.error());
  JsonWriter json = BeginAnswer();
  json.name_field("path", *path).field("bytes", *bytes);
  return EndAnswer(json);
}

}  // namespace mrb::workstation
