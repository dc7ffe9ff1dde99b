#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "common/error.h"

namespace mrb {

/// Reads one HTTP/1.x answer (RFC 9112) as its bytes come in: a body of a given length, in chunks,
/// or to the end of the connection. Interim answers (1xx) are passed over. No I/O; not thread-safe.
class HttpAnswer {
 public:
  static constexpr std::size_t kMaxHead = 64U << 10U;  ///< far beyond what any server sends
  static constexpr std::size_t kNoLimit = static_cast<std::size_t>(-1);

  /// Keeps the body, of `max_body` bytes at most.
  explicit HttpAnswer(std::size_t max_body) : max_body_(max_body) {}

  /// Hands the body to `piece` as it comes, however long it is; no piece is empty.
  explicit HttpAnswer(std::function<void(std::string_view)> piece) : piece_(std::move(piece)) {}

  /// Takes the next bytes. kCorrupt when they are no answer, kNoSpace past a limit; the object is
  /// then good for nothing but what it has read so far.
  [[nodiscard]] Status feed(std::string_view bytes);

  /// Tells that no more bytes will come. kClosed when the answer is not whole by then.
  [[nodiscard]] Status end();

  [[nodiscard]] bool complete() const { return step_ == Step::kDone; }
  /// The three digits; 0 before the head has come.
  [[nodiscard]] int status() const { return status_; }
  /// What of the body has come.
  [[nodiscard]] const std::string& body() const { return body_; }
  [[nodiscard]] std::string take_body() { return std::move(body_); }

 private:
  enum class Step { kHead, kSized, kUntilEnd, kChunkSize, kChunk, kChunkEnd, kTrailer, kDone };

  [[nodiscard]] Status advance();
  [[nodiscard]] Status read_head(std::string_view head);
  [[nodiscard]] Status pass_body(std::size_t bytes);
  [[nodiscard]] Status read_chunk_size(std::string_view line);
  /// The next line without its end, taken off the pending bytes.
  [[nodiscard]] std::optional<std::string> take_line();

  Step step_ = Step::kHead;
  std::string pending_;
  std::string body_;
  std::size_t left_ = 0;  // of the body or chunk
  int status_ = 0;
  std::size_t max_body_ = kNoLimit;
  std::function<void(std::string_view)> piece_;  // empty: the body is kept
};

}  // namespace mrb
