#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/error.h"

namespace mrb {

class JsonDocument;

/// One value of a JsonDocument: a cheap handle, valid as long as the document and its text. The
/// default one is missing, and everything asked of a missing value is missing or empty in turn, so
/// `root().find("params").find("name").text()` needs no checks between.
class JsonValue {
 public:
  enum class Kind : std::uint8_t { kMissing, kNull, kBool, kNumber, kString, kArray, kObject };

  JsonValue() = default;

  [[nodiscard]] Kind kind() const;
  [[nodiscard]] bool exists() const { return document_ != nullptr; }
  [[nodiscard]] bool is(Kind wanted) const { return kind() == wanted; }

  /// The bytes of the value as they were written, an id or a number for example.
  [[nodiscard]] std::string_view raw() const;

  /// A string without its quotes and escapes, always valid UTF-8: a lone surrogate and a byte that
  /// is not UTF-8 become U+FFFD. May hold NUL. Empty for every other kind.
  [[nodiscard]] std::string text() const;

  [[nodiscard]] std::optional<bool> boolean() const;
  /// A number written as a whole one ("12", "-3", not "1e3") that fits.
  [[nodiscard]] std::optional<std::int64_t> integer() const;

  /// The member of an object. Of members with the same key the first counts.
  [[nodiscard]] JsonValue find(std::string_view key) const;
  /// An array's elements in order.
  [[nodiscard]] std::vector<JsonValue> elements() const;
  /// An object's members as written, duplicate keys included; the first of a pair is the key.
  [[nodiscard]] std::vector<std::pair<JsonValue, JsonValue>> members() const;

 private:
  friend class JsonDocument;
  JsonValue(const JsonDocument* document, std::uint32_t index)
      : document_(document), index_(index) {}
  /// Nested values directly below, keys and member values alternating for an object.
  [[nodiscard]] std::vector<JsonValue> below() const;
  [[nodiscard]] bool text_equals(std::string_view wanted) const;

  const JsonDocument* document_ = nullptr;
  std::uint32_t index_ = 0;
};

/// A JSON text (RFC 8259) from outside, checked and indexed in one pass without recursion. It keeps
/// no copy: the text must live as long as the document and its values. Immutable, so any thread.
class JsonDocument {
 public:
  static constexpr std::size_t kMaxBytes = std::size_t{64} << 20U;  ///< twice the largest request
  static constexpr std::size_t kMaxDepth = 128;                     ///< nobody means more
  static constexpr std::size_t kMaxValues = 1U << 20U;  ///< keys included: bounds memory at 16 MiB

  /// kInvalidArgument with what is wrong and at which byte; also when a limit above is passed, or
  /// when anything but blanks follows the value.
  [[nodiscard]] static Result<JsonDocument> scan(std::string_view text);

  [[nodiscard]] JsonValue root() const { return {this, 0}; }

 private:
  friend class JsonValue;
  friend class JsonScanner;

  /// Values stand in the order of the text; what is inside of one follows it up to `after`.
  struct Node {
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
    std::uint32_t after = 0;
    JsonValue::Kind kind = JsonValue::Kind::kMissing;
  };

  JsonDocument() = default;

  std::string_view text_;
  std::vector<Node> nodes_;
};

}  // namespace mrb
