#include "memory/context/lint.h"

#include <algorithm>

namespace mrb::memory {

namespace {

std::string At(std::uint64_t offset) {
  return "@" + std::to_string(offset);
}

class Linter {
 public:
  explicit Linter(const ContextStore& store)
      : store_(store), index_(store.index()), memos_(store.index().memos()) {}

  LintReport run() {
    walk_records();
    check_topics();
    check_keywords();
    check_dates();
    check_chain();
    check_vectors();
    for (const Overlay& overlay : store_.overlays().all()) {
      check_keys(overlay);
      check_labels(overlay);
      check_mark(overlay);
    }
    if (std::string finding = store_.check_disk(); !finding.empty()) {
      report_.add("disk: " + finding);
    }
    return std::move(report_);
  }

 private:
  /// Where records really begin, found without any index.
  void walk_records() {
    const std::string_view heap = store_.heap().bytes();
    std::uint64_t offset = 0;
    while (offset < heap.size()) {
      if (heap.size() - offset < kMinRecord) {
        report_.add("buffer: partial record header at " + std::to_string(offset));
        break;
      }
      const auto record = ReadRecord(heap, offset);
      if (!record) {
        report_.add("buffer: record at " + std::to_string(offset) + " overruns the buffer");
        break;
      }
      records_.push_back(offset);
      offset += record->length;
    }
    if (offset != heap.size()) {
      report_.add("buffer: record chain ends at " + std::to_string(offset) + " not " +
                  std::to_string(heap.size()));
    }
    good_.resize(memos_.size());
    for (std::uint32_t row = 0; row < memos_.size(); ++row) {
      good_[row] = is_record(memos_[row].offset);
    }
  }

  [[nodiscard]] bool is_record(std::uint64_t offset) const {
    return std::ranges::binary_search(records_, offset);
  }
  [[nodiscard]] bool is_live(std::uint32_t row) const { return row < good_.size() && good_[row]; }

  /// For a finding; a row that is none has its own number to show.
  [[nodiscard]] std::uint64_t offset_of(std::uint32_t row) const {
    return row < memos_.size() ? memos_[row].offset : row;
  }

  void check_topics() {
    const TopicTable& topics = index_.topics();
    std::uint64_t postings = 0;
    for (std::uint32_t topic = 0; topic < topics.size(); ++topic) {
      const auto rows = topics.rows(topic);
      postings += rows.size();
      if (rows.empty()) {
        report_.add("topic '" + std::string(topics.name(topic)) + "': empty posting list");
      }
      for (std::size_t i = 0; i < rows.size(); ++i) {
        check_posting(topic, i, rows[i]);
      }
    }
    if (postings != records_.size()) {
      report_.add("memo count: " + std::to_string(postings) + " postings vs " +
                  std::to_string(records_.size()) + " records (orphaned or double-listed records)");
    }
    if (memos_.size() != postings) {
      report_.add("pointer set: " + std::to_string(memos_.size()) + " entries vs " +
                  std::to_string(postings) + " postings");
    }
  }

  void check_posting(std::uint32_t topic, std::size_t i, std::uint32_t row) {
    const std::string_view name = index_.topics().name(topic);
    const auto say = [&](const std::string& what) {
      report_.add("topic '" + std::string(name) + "' memo " + std::to_string(i + 1) + ": " + what);
    };
    if (!is_live(row)) {
      say("offset " + std::to_string(offset_of(row)) + " is not a record boundary");
      return;
    }
    const MemoRow& memo = memos_[row];
    const RecordView record = ReadRecord(store_.heap().bytes(), memo.offset).value_or(RecordView());
    if (memo.props != record.props) say("cached props differ from the record");
    if (record.topic != name) say("record names a different topic");
    if (memos_.find(memo.offset) != row || memo.topic != topic || memo.ordinal != i) {
      say("pointer set disagrees");
    }
  }

  void check_keywords() {
    const KeywordIndex& keywords = index_.keywords();
    for (std::uint32_t id = 0; id < keywords.size(); ++id) {
      const auto rows = keywords.rows(id);
      const auto say = [&](const std::string& what) {
        report_.add("keyword '" + std::string(keywords.name(id)) + "': " + what);
      };
      if (rows.empty()) say("empty posting list");
      for (const std::uint32_t row : rows) {
        if (!is_live(row)) say("dangling offset " + std::to_string(offset_of(row)));
      }
    }
  }

  /// The dates of the WHEN web; notes in what order they make the chain.
  void check_dates() {
    const TimeWeb& time = index_.webs().time();
    for (const TimeWeb::DateRows& date :
         time.between(DateStamp(1, 0, 0), DateStamp(10'000, 0, 0))) {
      for (const std::uint32_t row : date.mentioned) {
        if (!is_live(row)) {
          report_.add("temporal '" + date.stamp.text() + "': dangling offset " +
                      std::to_string(offset_of(row)));
        }
      }
      for (const std::uint32_t row : date.anchored) {
        if (time.anchor(row) != date.stamp) {
          report_.add("temporal: date '" + date.stamp.text() + "' lists " + At(offset_of(row)) +
                      " which is not anchored on it");
        }
        chain_.push_back(row);
      }
    }
  }

  void check_chain() {
    const TimeWeb& time = index_.webs().time();
    if (time.tail() != (chain_.empty() ? kNoId : chain_.back())) {
      report_.add("temporal: tail pointer is not the last chained memo");
    }
    std::vector<bool> linked(memos_.size());
    std::uint32_t before = kNoId;
    for (const std::uint32_t row : chain_) {
      if (!is_live(row)) {
        report_.add("temporal: chained memo " + At(offset_of(row)) + " is not a record");
        continue;
      }
      linked[row] = true;
      if (!time.anchor(row).is_set()) {
        report_.add("temporal: chained memo " + At(offset_of(row)) + " has no anchor");
      }
      if (time.earlier(row) != before) {
        report_.add("temporal: back pointer mismatch " + At(offset_of(row)));
      }
      before = row;
    }
    std::vector<bool> walked(memos_.size());
    std::uint64_t steps = 0;
    for (std::uint32_t row = time.tail(); row != kNoId; row = time.earlier(row), ++steps) {
      if (row >= linked.size() || !linked[row]) {
        report_.add("temporal: chain points at unlinked " + At(offset_of(row)));
        break;
      }
      if (walked[row]) {
        report_.add("temporal: chain loops");
        break;
      }
      walked[row] = true;
    }
    if (steps != time.chained()) {
      report_.add("temporal: chain walks " + std::to_string(steps) + " of " +
                  std::to_string(time.chained()) + " linked memos");
    }
  }

  void check_vectors() {
    for (const std::uint32_t row : index_.vectors().rows()) {
      if (!is_live(row)) {
        report_.add("embed: dangling offset " + std::to_string(offset_of(row)));
      } else if (index_.vector_bytes(row).empty()) {
        report_.add("embed: record at " + std::to_string(offset_of(row)) +
                    " indexed without PROP_HAS_VECTOR");
      }
    }
  }

  void say(const Overlay& overlay, const std::string& what) {
    report_.add("overlay: model '" + overlay.name() + "' " + what);
  }

  void check_keys(const Overlay& overlay) {
    for (const Overlay::Key& key : overlay.keys()) {
      if (!is_record(key.offset)) say(overlay, "keys a dead offset " + At(key.offset));
      if (key.label >= overlay.labels().size()) {
        say(overlay, "memo " + At(key.offset) + " has a bad label id");
      } else if (const Overlay::Label& label = overlay.labels()[key.label];
                 !std::ranges::binary_search(label.memos, key.offset)) {
        say(overlay, "memo " + At(key.offset) + " is missing from label '" + label.name + "'");
      }
    }
    for (const Overlay::Vector& vector : overlay.vectors()) {
      if (!is_record(vector.offset)) {
        say(overlay, "holds a vector for a dead offset " + At(vector.offset));
      }
    }
  }

  void check_labels(const Overlay& overlay) {
    const auto& keys = overlay.keys();
    for (std::uint32_t id = 0; id < overlay.labels().size(); ++id) {
      const Overlay::Label& label = overlay.labels()[id];
      for (const std::uint64_t offset : label.memos) {
        const auto key = std::ranges::lower_bound(keys, offset, {}, &Overlay::Key::offset);
        if (key == keys.end() || key->offset != offset || key->label != id) {
          say(overlay, "label '" + label.name + "' lists " + At(offset) + " which it does not key");
        }
      }
    }
  }

  void check_mark(const Overlay& overlay) {
    const std::uint64_t end = store_.heap().used();
    if (overlay.mark() > end) {
      say(overlay, "mark is past the end of the buffer");
    } else if (overlay.mark() != end && !is_record(overlay.mark())) {
      say(overlay, "mark is not on a record boundary");
    }
    for (const std::uint64_t offset : records_) {
      if (offset < overlay.mark() && !overlay.is_keyed(offset)) {
        say(overlay, "has an unkeyed memo " + At(offset) + " below its mark");
      }
    }
  }

  const ContextStore& store_;
  const ContextIndex& index_;
  const MemoTable& memos_;
  LintReport report_;
  std::vector<std::uint64_t> records_;  // where each begins, ascending
  std::vector<bool> good_;              // by row: its offset is such a place
  std::vector<std::uint32_t> chain_;    // rows in the order that the dates give
};

}  // namespace

LintReport Lint(const ContextStore& store) {
  return Linter(store).run();
}

}  // namespace mrb::memory
