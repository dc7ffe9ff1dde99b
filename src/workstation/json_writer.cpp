#include "workstation/json_writer.h"

#include "common/json_text.h"
#include "common/text.h"
#include "common/url.h"

namespace mrb::workstation {
namespace {

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = Utf8SequenceLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace

void JsonWriter::separate() {
  if (needs_comma_) out_ += ',';
  needs_comma_ = true;
}

JsonWriter& JsonWriter::open(char bracket) {
  separate();
  out_ += bracket;
  needs_comma_ = false;
  return *this;
}

JsonWriter& JsonWriter::close(char bracket) {
  out_ += bracket;
  needs_comma_ = true;
  return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
  value(name);
  out_ += ':';
  needs_comma_ = false;
  return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) {
  separate();
  out_ += '"';
  AppendJsonEscaped(out_, text);
  out_ += '"';
  return *this;
}

JsonWriter& JsonWriter::raw(std::string_view json) {
  separate();
  out_ += json;
  return *this;
}

JsonWriter& JsonWriter::name_field(std::string_view name, std::string_view bytes) {
  field(name, bytes);
  if (!IsUtf8(bytes)) field(std::string(name) + "_key", EncodeForm(bytes));
  return *this;
}

}  // namespace mrb::workstation
