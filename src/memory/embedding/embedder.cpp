#include "memory/embedding/embedder.h"

#include <array>
#include <charconv>
#include <cmath>

#include "common/http_answer.h"
#include "common/json_scan.h"
#include "common/json_writer.h"
#include "common/text.h"
#include "platform/process.h"
#include "platform/sockets.h"

namespace mrb::memory {

namespace {

constexpr std::size_t kMaxAnswer = 16U << 20U;  // bytes; an embedding has some ten kilobytes

using Clock = std::chrono::steady_clock;

std::string RequestText(const EmbedderAddress& address, const std::string& model,
                        std::string_view text) {
  const std::string body =
      JsonWriter().begin_object().field("model", model).field("prompt", text).end_object().take();
  std::string host;
  for (int shift = 24; shift >= 0; shift -= 8) {
    host += std::to_string(address.ipv4 >> shift & 255U) + (shift > 0 ? "." : "");
  }
  return "POST /api/embeddings HTTP/1.1\r\nHost: " + host + ":" + std::to_string(address.port) +
         "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\nConnection: close\r\n\r\n" + body;
}

/// Sends the request and reads the whole answer before the deadline, however it drips.
Result<HttpAnswer> Exchange(const EmbedderAddress& address, const EmbedderTimes& times,
                            const std::string& request) {
  if (const Status ready = platform::StartSockets(); !ready) return std::unexpected(ready.error());
  auto socket = platform::Socket::connect(address.ipv4, address.port, times.connect);
  if (!socket) return Fail(ErrorKind::kUnavailable, socket.error().text);
  const Clock::time_point deadline = Clock::now() + times.answer;
  if (const Status set = socket->set_send_timeout(times.answer); !set) {
    return std::unexpected(set.error());
  }
  if (const Status sent = socket->send_all(request); !sent) return std::unexpected(sent.error());
  HttpAnswer answer(kMaxAnswer);
  std::vector<char> buffer(std::size_t{64} << 10U);
  while (!answer.complete()) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) {
      return Fail(ErrorKind::kTimedOut, "the embedding server did not answer in time");
    }
    if (const Status set = socket->set_receive_timeout(left); !set) {
      return std::unexpected(set.error());
    }
    const auto got = socket->receive(buffer.data(), buffer.size());
    if (!got) return std::unexpected(got.error());
    const Status taken = *got == 0 ? answer.end() : answer.feed({buffer.data(), *got});
    if (!taken) return std::unexpected(taken.error());
  }
  return answer;
}

}  // namespace

Result<EmbedderAddress> ParseEmbedderAddress(std::string_view text) {
  text = Trim(text);
  constexpr std::string_view kScheme = "http://";
  if (text.starts_with(kScheme)) text.remove_prefix(kScheme.size());
  text = text.substr(0, text.find('/'));
  EmbedderAddress address;
  const auto bad = [&] {
    return Fail(ErrorKind::kInvalidArgument,
                "'" + std::string(text) + "' is no address of an embedding server");
  };
  const std::size_t colon = text.find(':');
  if (colon != std::string_view::npos) {
    const auto port = ParseDecimal(text.substr(colon + 1));
    if (!port || *port == 0 || *port > 65'535) return bad();
    address.port = static_cast<std::uint16_t>(*port);
  }
  const std::string_view host = text.substr(0, colon);
  if (host.empty() || EqualsIgnoreCase(host, "localhost") || host == "0.0.0.0") return address;
  const auto parts = Split(host, '.');
  if (parts.size() != 4) return bad();
  address.ipv4 = 0;
  for (const std::string_view part : parts) {
    const auto number = ParseDecimal(part);
    if (!number || *number > 255) return bad();
    address.ipv4 = address.ipv4 << 8U | static_cast<std::uint32_t>(*number);
  }
  return address;
}

Result<std::vector<float>> ParseEmbedding(std::string_view json) {
  const auto document = JsonDocument::scan(json);
  if (!document) {
    return Fail(ErrorKind::kCorrupt, "the embedding answer is no JSON: " + document.error().text);
  }
  JsonValue array = document->root().find("embedding");
  if (!array.is(JsonValue::Kind::kArray)) {
    const auto arrays = document->root().find("embeddings").elements();
    array = arrays.empty() ? JsonValue() : arrays.front();
  }
  const auto numbers = array.elements();
  if (numbers.empty() || numbers.size() > kMaxDimension) {
    return Fail(ErrorKind::kCorrupt, "the embedding answer holds no vector");
  }
  std::vector<float> vector;
  vector.reserve(numbers.size());
  for (const JsonValue& number : numbers) {
    const std::string_view raw = number.raw();
    double value = 0;
    const auto end = std::from_chars(raw.data(), raw.data() + raw.size(), value);
    const auto narrow = static_cast<float>(value);
    if (!number.is(JsonValue::Kind::kNumber) || end.ec != std::errc() || !std::isfinite(narrow)) {
      return Fail(ErrorKind::kCorrupt, "the embedding answer holds what is no number");
    }
    vector.push_back(narrow);
  }
  return vector;
}

Embedder HttpEmbedder(EmbedderAddress address, EmbedderTimes times) {
  return [=](const std::string& model, std::string_view text) -> Result<std::vector<float>> {
    const auto answer = Exchange(address, times, RequestText(address, model, text));
    if (!answer) return std::unexpected(answer.error());
    if (answer->status() != 200) {
      return Fail(ErrorKind::kIo,
                  "the embedding server answered " + std::to_string(answer->status()));
    }
    return ParseEmbedding(answer->body());
  };
}

Embedder SystemEmbedder() {
  const auto address =
      ParseEmbedderAddress(platform::EnvironmentVariable("OLLAMA_HOST").value_or(""));
  if (address) return HttpEmbedder(*address);
  return [reason = address.error()](const std::string&, std::string_view) {
    return Result<std::vector<float>>(Fail(ErrorKind::kUnavailable, "OLLAMA_HOST: " + reason.text));
  };
}

}  // namespace mrb::memory
