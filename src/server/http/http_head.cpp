#include "server/http/http_head.h"

#include <algorithm>
#include <limits>

#include "common/text.h"
#include "common/url.h"

namespace mrb::server {
namespace {

constexpr std::string_view kBlankLine = "\r\n\r\n";

/// Takes the first line off `text`, without its line feed and a carriage return before that.
std::string_view TakeLine(std::string_view& text) {
  const auto end = std::min(text.find('\n'), text.size());
  std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

std::string_view TakeWord(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  const std::string_view word = line.substr(0, line.find_first_of(" \t"));
  line.remove_prefix(word.size());
  return word;
}

/// Takes the text up to `separator` off `text`, and the separator with it.
std::string_view TakeUntil(std::string_view& text, char separator) {
  const std::string_view piece = text.substr(0, text.find(separator));
  text.remove_prefix(std::min(piece.size() + 1, text.size()));
  return piece;
}

}  // namespace

std::size_t FindHeadEnd(std::string_view bytes, std::size_t searched) {
  // The blank line may have begun within the bytes searched before.
  const std::size_t overlap = std::min(searched, kBlankLine.size() - 1);
  const auto at = bytes.find(kBlankLine, searched - overlap);
  return at == std::string_view::npos ? at : at + kBlankLine.size();
}

RequestLine ParseRequestLine(std::string_view head) {
  std::string_view line = TakeLine(head);
  RequestLine request;
  request.method = TakeWord(line);
  request.query = TakeWord(line);
  request.path = TakeUntil(request.query, '?');
  return request;
}

HeaderLines::HeaderLines(std::string_view head) : rest_(head) {
  TakeLine(rest_);
}

std::optional<HeaderLines::Line> HeaderLines::next() {
  while (!rest_.empty()) {
    const std::string_view line = TakeLine(rest_);
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) continue;
    const auto value = std::min(line.find_first_not_of(" \t", colon + 1), line.size());
    return Line{line.substr(0, colon), line.substr(value)};
  }
  return std::nullopt;
}

std::optional<std::string_view> FindHeader(std::string_view head, std::string_view name) {
  HeaderLines lines(head);
  while (const auto line = lines.next()) {
    if (EqualsIgnoreCase(line->name, name)) return line->value;
  }
  return std::nullopt;
}

std::string_view HeaderValue(std::string_view head, std::string_view name) {
  return FindHeader(head, name).value_or(std::string_view{});
}

std::uint64_t ContentLength(std::string_view head) {
  const std::string_view digits = Trim(HeaderValue(head, "content-length"));
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) return 0;
  return ParseDecimal(digits).value_or(std::numeric_limits<std::uint64_t>::max());
}

bool HasTransferCoding(std::string_view head) {
  HeaderLines lines(head);
  while (const auto line = lines.next()) {
    if (EqualsIgnoreCase(Trim(line->name), "transfer-encoding") &&
        !EqualsIgnoreCase(Trim(line->value), "identity")) {
      return true;
    }
  }
  return false;
}

bool ExpectsContinue(std::string_view head) {
  return EqualsIgnoreCase(Trim(HeaderValue(head, "expect")), "100-continue");
}

bool IsWebSocketUpgrade(std::string_view head) {
  return EqualsIgnoreCase(HeaderValue(head, "upgrade"), "websocket");
}

std::string QueryParam(std::string_view query, std::string_view key) {
  while (!query.empty()) {
    std::string_view piece = TakeUntil(query, '&');
    if (TakeUntil(piece, '=') == key) return DecodeForm(piece);
  }
  return {};
}

}  // namespace mrb::server
