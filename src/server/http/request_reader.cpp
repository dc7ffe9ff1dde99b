#include "server/http/request_reader.h"

#include "server/http/http_head.h"

namespace mrb::server {

void RequestReader::clear() {
  if (buffer_.capacity() > kKeptCapacity) {
    buffer_ = {};
  } else {
    buffer_.clear();
  }
  head_size_ = 0;
  state_ = State::kHead;
}

RequestReader::State RequestReader::append(std::string_view bytes) {
  const std::size_t searched = buffer_.size();
  buffer_ += bytes;
  if (state_ != State::kHead) return state_;
  const std::size_t end = FindHeadEnd(buffer_, searched);
  if (end != std::string_view::npos) {
    head_size_ = end;
    state_ = State::kHeadDone;
  } else if (buffer_.size() > kMaxHead) {
    state_ = State::kTooLarge;
  }
  return state_;
}

std::uint64_t BodyLength(std::string_view head) {
  return ParseRequestLine(head).path == "/vid/upload" ? 0 : ContentLength(head);
}

bool HasBody(const RequestLine& line) {
  return line.method == "POST" || line.method == "PUT" || line.method == "DELETE";
}

}  // namespace mrb::server
