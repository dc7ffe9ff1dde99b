#include "common/json_scan.h"

#include <charconv>

#include "common/json_string.h"

namespace mrb {

using Kind = JsonValue::Kind;

namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

std::size_t SkipDigits(std::string_view text, std::size_t at) {
  while (at < text.size() && IsDigit(text[at])) ++at;
  return at;
}

/// Bytes of the number at the start of `text`; 0 when there is none in JSON's grammar.
std::size_t NumberLength(std::string_view text) {
  std::size_t at = text.starts_with('-') ? 1 : 0;
  const std::size_t whole = at;
  at = SkipDigits(text, at);
  if (at == whole || (text[whole] == '0' && at > whole + 1)) return 0;
  if (at < text.size() && text[at] == '.') {
    const std::size_t fraction = at + 1;
    at = SkipDigits(text, fraction);
    if (at == fraction) return 0;
  }
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    std::size_t exponent = at + 1;
    if (exponent < text.size() && (text[exponent] == '+' || text[exponent] == '-')) ++exponent;
    at = SkipDigits(text, exponent);
    if (at == exponent) return 0;
  }
  return at;
}

}  // namespace

/// The one pass over the text. `open_` holds the arrays and objects around the present position, so
/// the depth that a sender chooses costs heap, not stack.
class JsonScanner {
 public:
  explicit JsonScanner(std::string_view text) { document_.text_ = text; }

  Result<JsonDocument> run() {
    if (text().size() > JsonDocument::kMaxBytes) return failed("is too long");
    while (value() && after_value()) {
    }
    if (problem_ != nullptr) return failed(problem_);
    skip_blanks();
    if (at_ != text().size()) return failed("has something after its value");
    return std::move(document_);
  }

 private:
  [[nodiscard]] std::string_view text() const { return document_.text_; }
  [[nodiscard]] std::string_view rest() const { return text().substr(at_); }

  [[nodiscard]] std::unexpected<Error> failed(const char* what) const {
    return Fail(ErrorKind::kInvalidArgument,
                std::string("JSON text ") + what + " at byte " + std::to_string(at_));
  }

  bool fail(const char* what) {
    problem_ = what;
    return false;
  }

  void skip_blanks() { at_ = std::min(text().find_first_not_of(" \t\r\n", at_), text().size()); }

  bool take(char wanted) {
    skip_blanks();
    if (!rest().starts_with(wanted)) return false;
    ++at_;
    return true;
  }

  bool add(Kind kind, std::size_t length) {
    auto& nodes = document_.nodes_;
    if (nodes.size() >= JsonDocument::kMaxValues) return fail("has too many values");
    const auto begin = static_cast<std::uint32_t>(at_);
    at_ += length;
    nodes.push_back({begin, static_cast<std::uint32_t>(at_),
                     static_cast<std::uint32_t>(nodes.size() + 1), kind});
    return true;
  }

  bool word(std::string_view word, Kind kind) {
    return rest().starts_with(word) ? add(kind, word.size()) : fail("has no value");
  }

  bool string() {
    const std::size_t length = JsonStringLength(rest());
    return length == 0 ? fail("has a bad string") : add(Kind::kString, length);
  }

  bool number() {
    const std::size_t length = NumberLength(rest());
    return length == 0 ? fail("has no value") : add(Kind::kNumber, length);
  }

  /// A scalar, an empty array or object, or the opening of one up to its first scalar.
  bool value() {
    for (;;) {
      skip_blanks();
      switch (rest().empty() ? '\0' : text()[at_]) {
        case '{':
          if (!open(Kind::kObject)) return false;
          if (take('}')) return close();
          if (!key()) return false;
          break;
        case '[':
          if (!open(Kind::kArray)) return false;
          if (take(']')) return close();
          break;
        case '"':
          return string();
        case 't':
          return word("true", Kind::kBool);
        case 'f':
          return word("false", Kind::kBool);
        case 'n':
          return word("null", Kind::kNull);
        default:
          return number();
      }
    }
  }

  bool open(Kind kind) {
    if (open_.size() >= JsonDocument::kMaxDepth) return fail("is nested too deep");
    open_.push_back(static_cast<std::uint32_t>(document_.nodes_.size()));
    return add(kind, 1);
  }

  bool close() {
    auto& node = document_.nodes_[open_.back()];
    node.end = static_cast<std::uint32_t>(at_);
    node.after = static_cast<std::uint32_t>(document_.nodes_.size());
    open_.pop_back();
    return true;
  }

  bool key() {
    skip_blanks();
    if (!rest().starts_with('"')) return fail("has a member without a key");
    return string() && (take(':') || fail("has a key without a colon"));
  }

  /// Closes what ends here. True when another value must follow, false at the end or on an error.
  bool after_value() {
    while (!open_.empty()) {
      const bool object = document_.nodes_[open_.back()].kind == Kind::kObject;
      if (take(',')) return !object || key();
      if (!take(object ? '}' : ']')) return fail("has no comma or end");
      close();
    }
    return false;
  }

  JsonDocument document_;
  std::vector<std::uint32_t> open_;
  std::size_t at_ = 0;
  const char* problem_ = nullptr;
};

Result<JsonDocument> JsonDocument::scan(std::string_view text) {
  return JsonScanner(text).run();
}

Kind JsonValue::kind() const {
  return exists() ? document_->nodes_[index_].kind : Kind::kMissing;
}

std::string_view JsonValue::raw() const {
  if (!exists()) return {};
  const auto& node = document_->nodes_[index_];
  return document_->text_.substr(node.begin, node.end - node.begin);
}

std::string JsonValue::text() const {
  return is(Kind::kString) ? DecodeJsonString(raw()) : std::string();
}

bool JsonValue::text_equals(std::string_view wanted) const {
  return DecodeJsonString(raw()) == wanted;
}

std::optional<bool> JsonValue::boolean() const {
  if (!is(Kind::kBool)) return std::nullopt;
  return raw() == "true";
}

std::optional<std::int64_t> JsonValue::integer() const {
  if (!is(Kind::kNumber)) return std::nullopt;
  std::int64_t value = 0;
  const char* begin = raw().data();
  const char* end = begin + raw().size();
  const auto parsed = std::from_chars(begin, end, value);
  if (parsed.ec != std::errc{} || parsed.ptr != end) return std::nullopt;
  return value;
}

std::vector<JsonValue> JsonValue::below() const {
  std::vector<JsonValue> values;
  const auto& nodes = document_->nodes_;
  for (std::uint32_t i = index_ + 1; i < nodes[index_].after; i = nodes[i].after) {
    values.push_back({document_, i});
  }
  return values;
}

JsonValue JsonValue::find(std::string_view key) const {
  if (!is(Kind::kObject)) return {};
  const auto& nodes = document_->nodes_;
  for (std::uint32_t i = index_ + 1; i < nodes[index_].after; i = nodes[i + 1].after) {
    if (JsonValue(document_, i).text_equals(key)) return {document_, i + 1};
  }
  return {};
}

std::vector<JsonValue> JsonValue::elements() const {
  return is(Kind::kArray) ? below() : std::vector<JsonValue>{};
}

std::vector<std::pair<JsonValue, JsonValue>> JsonValue::members() const {
  std::vector<std::pair<JsonValue, JsonValue>> pairs;
  if (!is(Kind::kObject)) return pairs;
  const auto values = below();
  for (std::size_t i = 0; i + 1 < values.size(); i += 2)
    pairs.emplace_back(values[i], values[i + 1]);
  return pairs;
}

}  // namespace mrb
