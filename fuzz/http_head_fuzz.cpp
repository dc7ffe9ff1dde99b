#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"
#include "server/http/http_head.h"
#include "server/http/request_reader.h"
#include "server/http/session_gate.h"
#include "server/routes/page_path.h"

// The first byte chooses the pieces in which the rest arrives. However they are cut, the same
// request must come out, every view must lie in the head, and no path may leave its folder.

namespace {

using mrb::server::RequestReader;

bool Inside(std::string_view part, std::string_view whole) {
  return part.empty() ||
         (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}

void CheckHead(std::string_view head) {
  FUZZ_CHECK(head.ends_with("\r\n\r\n"));
  const auto line = mrb::server::ParseRequestLine(head);
  FUZZ_CHECK(Inside(line.method, head) && Inside(line.path, head) && Inside(line.query, head));
  FUZZ_CHECK(!line.path.contains('?') && !line.path.contains('\n') && !line.path.contains(' '));
  mrb::server::HeaderLines lines(head);
  while (const auto header = lines.next()) {
    FUZZ_CHECK(Inside(header->name, head) && Inside(header->value, head));
    FUZZ_CHECK(!header->value.starts_with(' ') && !header->value.contains('\n'));
  }
  FUZZ_CHECK(mrb::server::QueryParam(line.query, "bot").size() <= line.query.size());
  FUZZ_CHECK(Inside(
      mrb::server::CookieValue(mrb::server::HeaderValue(head, "cookie"), "mrb_gui_sess"), head));
  if (const auto file = mrb::server::UiFile(line.path)) {
    FUZZ_CHECK(!file->contains("..") && !file->contains('\\') && !file->contains(':'));
    FUZZ_CHECK(!file->empty() && file->front() != '/' && !file->contains('\0'));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t step = data[0] + std::size_t{1};
  const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  RequestReader whole;
  whole.append(bytes);
  RequestReader pieces;
  for (std::size_t at = 0; at < bytes.size() && pieces.state() != RequestReader::State::kTooLarge;
       at += step) {
    pieces.append(std::string_view(bytes).substr(at, step));
  }
  const std::size_t end = bytes.find("\r\n\r\n");
  FUZZ_CHECK((whole.state() == RequestReader::State::kHeadDone) == (end != std::string::npos));
  if (pieces.state() != RequestReader::State::kHeadDone) return 0;
  FUZZ_CHECK(pieces.head() == bytes.substr(0, end + 4) && pieces.rest() == bytes.substr(end + 4));
  CheckHead(pieces.head());
  return 0;
}
