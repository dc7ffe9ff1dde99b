#include "memory/record/record.h"

#include <algorithm>

#include "memory/record/memo_types.h"

namespace mrb::memory {

namespace {

/// Takes fields off the front of the data; once one does not fit, nothing fits any more.
class FieldReader {
 public:
  FieldReader(std::string_view data, std::uint64_t offset)
      : rest_(offset <= data.size() ? data.substr(offset) : std::string_view()),
        size_(rest_.size()) {}

  [[nodiscard]] bool ok() const { return ok_; }
  [[nodiscard]] std::uint64_t left() const { return rest_.size(); }
  [[nodiscard]] std::uint64_t used() const { return size_ - rest_.size(); }

  template <typename Word>
  Word word() {
    const std::string_view bytes = take(sizeof(Word));
    return ok_ ? LoadLittleEndian<Word>(std::span(bytes).template first<sizeof(Word)>()) : Word{0};
  }

  std::string_view take(std::uint64_t bytes) {
    if (!ok_ || bytes > rest_.size()) {
      ok_ = false;
      return {};
    }
    const std::string_view taken = rest_.substr(0, bytes);
    rest_.remove_prefix(bytes);
    return taken;
  }

  std::string_view text() { return take(word<std::uint32_t>()); }

  /// `count` length-prefixed texts as one piece. Each takes four bytes at least, so a count that is
  /// made up ends the loop as soon as the data does.
  std::string_view texts(std::uint32_t count) {
    const char* start = rest_.data();
    const std::uint64_t before = rest_.size();
    for (std::uint32_t i = 0; i < count && ok_; ++i) {
      text();
    }
    return ok_ ? std::string_view(start, before - rest_.size()) : std::string_view();
  }

 private:
  std::string_view rest_;
  std::uint64_t size_;
  bool ok_ = true;
};

class FieldWriter {
 public:
  explicit FieldWriter(char* out) : out_(out) {}

  template <typename Word>
  void word(Word word) {
    StoreLittleEndian(out_, word);
    out_ += sizeof word;
  }

  void text(std::string_view bytes) {
    word(static_cast<std::uint32_t>(bytes.size()));
    out_ = std::ranges::copy(bytes, out_).out;
  }

 private:
  char* out_;
};

}  // namespace

std::optional<RecordView> ReadRecord(std::string_view data, std::uint64_t offset, RecordHead head) {
  FieldReader in(data, offset);
  RecordView record;
  record.props = in.word<std::uint32_t>();
  record.written = head == RecordHead::kTimed ? in.word<std::uint64_t>() : 0;
  record.content = in.text();
  record.topic = in.text();
  record.keyword_count = in.word<std::uint32_t>();
  record.keyword_bytes = in.texts(record.keyword_count);
  if (in.ok() && (record.props & kVectorBit) != 0) {
    record.vector_missing = in.left() < sizeof(std::uint32_t);
    if (!record.vector_missing) {
      const std::uint64_t dimension = in.word<std::uint32_t>();
      record.vector_bytes = in.take(dimension * sizeof(float));
    }
  }
  if (!in.ok()) return std::nullopt;
  record.length = in.used();
  return record;
}

RecordView ReadWholeRecord(std::string_view bytes) {
  FieldReader in(bytes, 0);
  RecordView record;
  record.props = in.word<std::uint32_t>();
  record.written = in.word<std::uint64_t>();
  record.content = in.text();
  record.topic = in.text();
  record.keyword_count = in.word<std::uint32_t>();
  record.keyword_bytes = in.take(in.left());
  record.length = bytes.size();
  return record;
}

std::vector<std::string_view> KeywordsOf(const RecordView& record) {
  std::vector<std::string_view> keywords;
  std::string_view keyword;
  for (KeywordCursor cursor = record.keywords(); cursor.next(keyword);) {
    keywords.push_back(keyword);
  }
  return keywords;
}

std::optional<std::uint64_t> RecordLength(const RecordFields& fields) {
  std::uint64_t longest = std::max(fields.content.size(), fields.topic.size());
  std::uint64_t length = kMinRecord + fields.content.size() + fields.topic.size();
  for (const std::string_view keyword : fields.keywords) {
    longest = std::max<std::uint64_t>(longest, keyword.size());
    length += 4 + keyword.size();
  }
  if (!fields.vector.empty()) length += 4 + fields.vector.size() * sizeof(float);
  if (std::max({longest, std::uint64_t{fields.keywords.size()},
                std::uint64_t{fields.vector.size()}}) > kMaxFieldBytes) {
    return std::nullopt;
  }
  return length;
}

void WriteRecord(const RecordFields& fields, char* out) {
  FieldWriter writer(out);
  writer.word((fields.props & ~kVectorBit) | (fields.vector.empty() ? 0 : kVectorBit));
  writer.word(fields.written);
  writer.text(fields.content);
  writer.text(fields.topic);
  writer.word(static_cast<std::uint32_t>(fields.keywords.size()));
  for (const std::string_view keyword : fields.keywords) {
    writer.text(keyword);
  }
  if (!fields.vector.empty()) {
    writer.word(static_cast<std::uint32_t>(fields.vector.size()));
    for (const float number : fields.vector) {
      writer.word(std::bit_cast<std::uint32_t>(number));
    }
  }
}

}  // namespace mrb::memory
