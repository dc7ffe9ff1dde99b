#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace mrb {

/// Builds one JSON text (RFC 8259), valid whatever bytes the strings hold. Objects and arrays that
/// are opened must be closed, and a value in an object follows its key.
///
///     JsonWriter json;
///     json.begin_object().field("ok", true).key("names").begin_array();
///     for (const std::string& name : names) json.value(name);
///     return json.end_array().end_object().take();
class JsonWriter {
 public:
  JsonWriter() = default;

  /// Makes room for a text of `bytes` at once.
  explicit JsonWriter(std::size_t bytes) { out_.reserve(bytes); }

  JsonWriter& begin_object() { return open('{'); }
  JsonWriter& end_object() { return close('}'); }
  JsonWriter& begin_array() { return open('['); }
  JsonWriter& end_array() { return close(']'); }

  JsonWriter& key(std::string_view name);

  JsonWriter& value(std::string_view text);
  JsonWriter& value(const std::string& text) { return value(std::string_view(text)); }
  JsonWriter& value(const char* text) { return value(std::string_view(text)); }
  JsonWriter& value(bool flag) { return raw(flag ? "true" : "false"); }
  template <std::integral Number>
    requires(!std::same_as<Number, bool>)
  JsonWriter& value(Number number) {
    return raw(std::to_string(number));
  }

  /// A value that is JSON already.
  JsonWriter& raw(std::string_view json);

  template <typename Value>
  JsonWriter& field(std::string_view name, Value content) {
    return key(name).value(content);
  }
  JsonWriter& field(std::string_view name, const std::string& text) {
    return key(name).value(std::string_view(text));
  }

  /// A field whose value is JSON already.
  JsonWriter& raw_field(std::string_view name, std::string_view json) {
    return key(name).raw(json);
  }

  /// A name that may hold any bytes: the field as text, and, when that is not all of it, the field
  /// `<name>_key` with its bytes as a form value, by which the caller can ask for it.
  JsonWriter& name_field(std::string_view name, std::string_view bytes);

  [[nodiscard]] std::size_t size() const { return out_.size(); }
  [[nodiscard]] std::string take() { return std::move(out_); }

 private:
  JsonWriter& open(char bracket);
  JsonWriter& close(char bracket);
  void separate();

  std::string out_;
  bool needs_comma_ = false;
};

/// Appends `text` as the inside of a JSON string (RFC 8259). Quote, backslash and control
/// characters are escaped; valid UTF-8 goes out as it is; each byte that is not part of a valid
/// sequence becomes U+FFFD, so the result is valid JSON whatever the bytes were.
void AppendJsonEscaped(std::string& out, std::string_view text);

/// The text as a whole JSON string, with its quotes.
[[nodiscard]] std::string JsonString(std::string_view text);

}  // namespace mrb
