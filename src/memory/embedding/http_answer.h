#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "common/error.h"

namespace mrb::memory {

/// Reads one HTTP/1.x answer as its bytes come in: a body of a given length, in chunks, or to the
/// end of the connection. Pure. Interim answers (1xx) are passed over.
class HttpAnswer {
 public:
  static constexpr std::size_t kMaxHead = 64U << 10U;  ///< far beyond what any server sends
  static constexpr std::size_t kMaxBody = 16U << 20U;  ///< an embedding has some ten kilobytes

  /// Takes the next bytes. kCorrupt when they are no answer, kNoSpace past a limit.
  [[nodiscard]] Status feed(std::string_view bytes);

  /// Tells that no more bytes will come. kClosed when the answer is not whole by then.
  [[nodiscard]] Status end();

  [[nodiscard]] bool complete() const { return step_ == Step::kDone; }
  [[nodiscard]] int status() const { return status_; }
  [[nodiscard]] const std::string& body() const { return body_; }

 private:
  enum class Step { kHead, kSized, kUntilEnd, kChunkSize, kChunk, kChunkEnd, kTrailer, kDone };

  [[nodiscard]] Status advance();
  [[nodiscard]] Status read_head(std::string_view head);
  [[nodiscard]] Status take_body(std::size_t bytes);
  [[nodiscard]] Status read_chunk_size(std::string_view line);
  /// The next line without its end, taken off the pending bytes.
  [[nodiscard]] std::optional<std::string> take_line();

  Step step_ = Step::kHead;
  std::string pending_;
  std::string body_;
  std::size_t left_ = 0;  // of the body or chunk
  int status_ = 0;
};

}  // namespace mrb::memory
