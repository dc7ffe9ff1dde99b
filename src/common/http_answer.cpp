#include "common/http_answer.h"

#include <algorithm>

#include "common/text.h"

namespace mrb {

namespace {

std::unexpected<Error> Corrupt(const char* what) {
  return Fail(ErrorKind::kCorrupt, std::string("not an HTTP answer: ") + what);
}

}  // namespace

Status HttpAnswer::pass_body(std::size_t bytes) {
  if (bytes > max_body_ - body_.size()) {
    return Fail(ErrorKind::kNoSpace, "the answer exceeds " + std::to_string(max_body_) + " bytes");
  }
  const std::string_view piece = std::string_view(pending_).substr(0, bytes);
  if (!piece_) {
    body_ += piece;
  } else if (!piece.empty()) {
    piece_(piece);
  }
  pending_.erase(0, bytes);
  return {};
}

std::optional<std::string> HttpAnswer::take_line() {
  const std::size_t end = pending_.find('\n');
  if (end == std::string::npos) return std::nullopt;
  std::string line(TrimLineEnd(std::string_view(pending_).substr(0, end)));
  pending_.erase(0, end + 1);
  return line;
}

Status HttpAnswer::read_head(std::string_view head) {
  const std::string_view first = head.substr(0, head.find('\n'));
  const auto words = SplitWords(TrimLineEnd(first));
  if (words.size() < 2 || !words[0].starts_with("HTTP/1.") || words[1].size() != 3) {
    return Corrupt("no status line");
  }
  const auto status = ParseDecimal(words[1]);
  if (!status) return Corrupt("no status");
  status_ = static_cast<int>(*status);
  step_ = Step::kUntilEnd;
  for (const std::string_view line : Split(head, '\n')) {
    const std::size_t colon = std::min(line.find(':'), line.size());
    const std::string_view name = Trim(line.substr(0, colon));
    const std::string_view value = Trim(line.substr(std::min(colon + 1, line.size())));
    if (EqualsIgnoreCase(name, "transfer-encoding") && !EqualsIgnoreCase(value, "identity")) {
      if (!EqualsIgnoreCase(value, "chunked")) return Corrupt("an encoding of its own");
      step_ = Step::kChunkSize;
      break;  // says more than a length
    }
    if (EqualsIgnoreCase(name, "content-length")) {
      const auto length = ParseDecimal(value);
      if (!length || *length > max_body_) return Corrupt("bad content length");
      left_ = *length;
      step_ = Step::kSized;
    }
  }
  if (status_ < 200) {
    step_ = Step::kHead;
  } else if (status_ == 204 || status_ == 304) {
    step_ = Step::kDone;
  }
  return {};
}

Status HttpAnswer::read_chunk_size(std::string_view line) {
  const std::string_view digits = Trim(line.substr(0, line.find(';')));
  constexpr std::size_t kMaxDigits = 7;  // 256 MiB, past every limit
  if (digits.empty() || digits.size() > kMaxDigits) return Corrupt("bad chunk size");
  std::size_t size = 0;
  for (const char c : digits) {
    if (HexDigit(c) < 0) return Corrupt("bad chunk size");
    size = size * 16 + static_cast<std::size_t>(HexDigit(c));
  }
  left_ = size;
  step_ = size == 0 ? Step::kTrailer : Step::kChunk;
  return {};
}

/// One step with what is pending; no step changes nothing.
Status HttpAnswer::advance() {
  switch (step_) {
    case Step::kHead: {
      const std::size_t lf = pending_.find("\n\n");
      const std::size_t crlf = pending_.find("\r\n\r\n");
      const std::size_t end = std::min(lf, crlf);
      if (end == std::string::npos) {
        return pending_.size() > kMaxHead ? Status(Corrupt("endless head")) : Status();
      }
      const std::string head = pending_.substr(0, end);
      pending_.erase(0, end + (end == crlf ? 4 : 2));
      return read_head(head);
    }
    case Step::kSized:
    case Step::kChunk: {
      const std::size_t bytes = std::min(left_, pending_.size());
      left_ -= bytes;
      const bool chunk = step_ == Step::kChunk;
      if (left_ == 0) step_ = chunk ? Step::kChunkEnd : Step::kDone;
      return pass_body(bytes);
    }
    case Step::kUntilEnd:
      return pass_body(pending_.size());
    case Step::kChunkSize:
    case Step::kChunkEnd:
    case Step::kTrailer: {
      const auto line = take_line();
      if (!line) return pending_.size() > kMaxHead ? Status(Corrupt("endless line")) : Status();
      if (step_ == Step::kChunkSize) return read_chunk_size(*line);
      if (step_ == Step::kChunkEnd) {
        step_ = Step::kChunkSize;
        return line->empty() ? Status() : Status(Corrupt("a chunk of another size"));
      }
      step_ = line->empty() ? Step::kDone : Step::kTrailer;
      return {};
    }
    case Step::kDone:
      break;
  }
  return {};
}

Status HttpAnswer::feed(std::string_view bytes) {
  pending_ += bytes;
  for (;;) {
    const Step step = step_;
    const std::size_t pending = pending_.size();
    if (const Status done = advance(); !done) return done;
    if (step == step_ && pending == pending_.size()) {
      return {};
    }
  }
}

Status HttpAnswer::end() {
  if (step_ == Step::kUntilEnd) step_ = Step::kDone;
  return complete() ? Status() : Status(Fail(ErrorKind::kClosed, "the answer was cut off"));
}

}  // namespace mrb
