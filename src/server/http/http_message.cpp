#include "server/http/http_message.h"

#include <charconv>

#include "common/json_writer.h"

namespace mrb::server {
namespace {

void AppendDecimal(std::string& out, std::size_t number) {
  char digits[20];
  out.append(digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr);
}

}  // namespace

Response JsonFailure(std::string_view status, std::string_view message) {
  Response response;
  response.status = status;
  response.body =
      JsonWriter().begin_object().field("ok", false).field("error", message).end_object().take();
  return response;
}

void AppendHttpHead(std::string& out, const Response& response) {
  out += "HTTP/1.1 ";
  out += response.status;
  out += "\r\nContent-Type: ";
  out += response.type;
  out += "\r\nContent-Length: ";
  AppendDecimal(out, response.body.size());
  out += response.headers;
  out += "\r\nCache-Control: no-store\r\nConnection: close\r\n\r\n";
}

}  // namespace mrb::server
