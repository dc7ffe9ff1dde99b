#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mrb::server {

/// Reading an HTTP/1.1 request head: pure functions over the bytes as they came, no copies. The
/// head is the request line and the header lines up to and including the blank line.

/// Where the head that `bytes` begin with ends (after its blank line), or npos while the blank line
/// has not come. The first `searched` bytes are known to hold none.
[[nodiscard]] std::size_t FindHeadEnd(std::string_view bytes, std::size_t searched = 0);

/// Views into the head. Missing words are empty, which matches no route.
struct RequestLine {
  std::string_view method;
  std::string_view path;   ///< up to the first "?", not decoded
  std::string_view query;  ///< after it
};
[[nodiscard]] RequestLine ParseRequestLine(std::string_view head);

/// Walks the header lines in order.
class HeaderLines {
 public:
  struct Line {
    std::string_view name;   ///< as written
    std::string_view value;  ///< without leading blanks
  };

  explicit HeaderLines(std::string_view head);

  /// The next line that has a colon; nothing at the end.
  std::optional<Line> next();

 private:
  std::string_view rest_;
};

/// The first header of that name, which is given in lower case; nothing when there is none.
[[nodiscard]] std::optional<std::string_view> FindHeader(std::string_view head,
                                                         std::string_view name);

/// Like FindHeader(), but an absent header is the empty text.
[[nodiscard]] std::string_view HeaderValue(std::string_view head, std::string_view name);

/// The declared length of the body: 0 when absent or not a decimal number, the largest number when
/// there are more digits than fit.
[[nodiscard]] std::uint64_t ContentLength(std::string_view head);

/// Whether the body comes in another form than its bytes, the length of which is declared:
/// "chunked" and all else that a Transfer-Encoding can name but identity (RFC 9112, section 6.1).
[[nodiscard]] bool HasTransferCoding(std::string_view head);

/// Whether the client waits with the body until it is told to go on (RFC 9110, section 10.1.1).
[[nodiscard]] bool ExpectsContinue(std::string_view head);

/// Whether the client asks to go on as a WebSocket.
[[nodiscard]] bool IsWebSocketUpgrade(std::string_view head);

/// The form-decoded value of the first query piece with exactly that key; empty when there is none.
[[nodiscard]] std::string QueryParam(std::string_view query, std::string_view key);

}  // namespace mrb::server
