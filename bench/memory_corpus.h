#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"

namespace mrb::bench {

/// Made-up memos with the statistics of real text: 50,000 words whose frequencies follow Zipf's
/// law, 12 to 25 of them to a memo, eight memos to a topic. The words are always the same, and
/// the same seed makes the same memos of them everywhere.
class MemoryCorpus {
 public:
  static constexpr std::size_t kVocabulary = 50'000;
  static constexpr std::uint64_t kMemosPerTopic = 8;

  /// With `framed` two of three memos name a person, a place, a day or a cause, as notes do.
  explicit MemoryCorpus(std::uint64_t seed = 1, bool framed = false);

  struct Memo {
    std::string topic;
    std::string content;
    std::vector<std::string_view> keywords;  ///< the content's different words in order
  };

  /// The next memo, of a store that is to hold about `memos` of them.
  [[nodiscard]] const Memo& next(std::uint64_t memos);

  /// A word of the vocabulary, 0 being the most frequent.
  [[nodiscard]] std::string_view word(std::size_t rank) const { return words_[rank]; }

  struct Written {
    std::uint64_t bytes = 0;
    std::uint64_t postings = 0;
  };

  /// Writes a store file of `memos` memos.
  [[nodiscard]] Result<Written> write_store(platform::FileSystem& files, const std::string& path,
                                            std::uint64_t memos);

 private:
  [[nodiscard]] std::size_t random_rank();
  void add_frame();

  std::mt19937_64 random_;
  std::vector<std::string> words_;
  std::vector<double> cumulative_;      // of the words' probabilities
  std::vector<std::uint32_t> guide_;    // where in cumulative_ to begin, by equal steps
  std::vector<std::uint64_t> used_in_;  // number of the last memo that used the word
  std::uint64_t count_ = 0;
  bool framed_;
  Memo memo_;
};

}  // namespace mrb::bench
