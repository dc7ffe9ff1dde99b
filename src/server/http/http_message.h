#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "server/http/http_head.h"

namespace mrb::server {

/// One request, read whole. The views last as long as the connection's buffers.
struct Request {
  std::string_view head;
  RequestLine line;
  std::string_view body;
  bool loopback = false;       ///< the peer is this machine
  bool trusted = false;        ///< may run commands: the user here, or a full browser session
  bool page_load = false;      ///< see IsPageLoad()
  std::string_view objection;  ///< why it is not trusted, when that is not the usual reason

  [[nodiscard]] std::string param(std::string_view key) const {
    return QueryParam(line.query, key);
  }
  [[nodiscard]] std::string_view header(std::string_view name) const {
    return HeaderValue(head, name);
  }
};

inline constexpr std::string_view kOk = "200 OK";
inline constexpr std::string_view kBadRequest = "400 Bad Request";
inline constexpr std::string_view kUnauthorized = "401 Unauthorized";
inline constexpr std::string_view kForbidden = "403 Forbidden";
inline constexpr std::string_view kNotFound = "404 Not Found";
inline constexpr std::string_view kMethodNotAllowed = "405 Method Not Allowed";
inline constexpr std::string_view kConflict = "409 Conflict";
inline constexpr std::string_view kLengthRequired = "411 Length Required";
inline constexpr std::string_view kPayloadTooLarge = "413 Payload Too Large";
inline constexpr std::string_view kServerError = "500 Internal Server Error";
inline constexpr std::string_view kUnavailable = "503 Service Unavailable";

inline constexpr std::string_view kJson = "application/json";
inline constexpr std::string_view kPlain = "text/plain";
inline constexpr std::string_view kPlainUtf8 = "text/plain; charset=utf-8";
inline constexpr std::string_view kHtml = "text/html; charset=utf-8";
inline constexpr std::string_view kCss = "text/css; charset=utf-8";
inline constexpr std::string_view kScript = "application/javascript; charset=utf-8";

/// One answer. `status` and `type` are texts that live as long as the program.
struct Response {
  std::string_view status = kOk;
  std::string_view type = kJson;
  std::string body;
  std::string headers;                     ///< further header lines, each led in by "\r\n"
  bool close_resident = false;             ///< once this answer is out, the process is asked to end
  std::shared_ptr<const void> until_sent;  ///< what lasts until the answer is out; may be null
};

/// {"ok":false,"error":"<message>"} under the given status.
[[nodiscard]] Response JsonFailure(std::string_view status, std::string_view message);

/// Appends the answer's head to `out`: status, type, length, the further headers, and that it is
/// neither stored nor followed by another on the connection. The body comes right behind it.
void AppendHttpHead(std::string& out, const Response& response);

}  // namespace mrb::server
