#include "memory_corpus.h"

#include <cmath>
#include <set>

#include "memory/record/record.h"
#include "memory/record/store_format.h"

namespace mrb::bench {

namespace {

// Slightly flatter than 1, so that a memo of 18 words repeats less than one of them.
constexpr double kZipfExponent = 0.9;
constexpr std::uint64_t kVocabularySeed = 1;
constexpr std::size_t kGuideSteps = 1U << 16;
constexpr std::uint64_t kStart = 1'600'000'000;  // write times, a memo a minute
constexpr std::size_t kBuffer = 8U << 20;

std::vector<std::string> MakeWords() {
  std::mt19937_64 random(kVocabularySeed);
  constexpr std::string_view kConsonants = "bcdfghjklmnprstvwz";
  constexpr std::string_view kVowels = "aeiou";
  std::set<std::string> known;
  std::vector<std::string> words;
  while (words.size() < MemoryCorpus::kVocabulary) {
    std::string word;
    const std::size_t syllables = 1 + random() % 3 + (words.size() > 500 ? 1 : 0);
    for (std::size_t i = 0; i < syllables; ++i) {
      word += kConsonants[random() % kConsonants.size()];
      word += kVowels[random() % kVowels.size()];
      if (random() % 3 == 0) word += kConsonants[random() % kConsonants.size()];
    }
    if (random() % 50 == 0) word += std::to_string(random() % 100);
    if (known.insert(word).second) words.push_back(word);
  }
  return words;
}

}  // namespace

MemoryCorpus::MemoryCorpus(std::uint64_t seed, bool framed)
    : random_(seed), words_(MakeWords()), used_in_(kVocabulary), framed_(framed) {
  double sum = 0;
  for (std::size_t i = 0; i < kVocabulary; ++i) {
    sum += std::pow(static_cast<double>(i + 1), -kZipfExponent);
    cumulative_.push_back(sum);
  }
  std::uint32_t rank = 0;
  for (std::size_t step = 0; step < kGuideSteps; ++step) {
    while (cumulative_[rank] < sum * static_cast<double>(step) / kGuideSteps) ++rank;
    guide_.push_back(rank);
  }
}

std::size_t MemoryCorpus::random_rank() {
  const double at = static_cast<double>(random_() >> 11U) * 0x1p-53;
  std::size_t rank = guide_[static_cast<std::size_t>(at * kGuideSteps)];
  while (cumulative_[rank] < at * cumulative_.back()) ++rank;
  return rank;
}

const MemoryCorpus::Memo& MemoryCorpus::next(std::uint64_t memos) {
  ++count_;
  memo_.topic = "topic-" + std::to_string(random_() % (memos / kMemosPerTopic + 1));
  memo_.content.clear();
  memo_.keywords.clear();
  for (std::uint64_t left = 12 + random_() % 14; left > 0; --left) {
    const std::size_t rank = random_rank();
    if (!memo_.content.empty()) memo_.content += ' ';
    memo_.content += words_[rank];
    if (used_in_[rank] != count_) {
      used_in_[rank] = count_;
      memo_.keywords.emplace_back(words_[rank]);
    }
  }
  if (framed_) add_frame();
  return memo_;
}

/// A person of 700, one of 1,000 days, a place of 700, or a cause; each is then in about a thousand
/// of a million memos. Its words are no keywords: this measures what is read off the text.
void MemoryCorpus::add_frame() {
  constexpr std::size_t kNames = 700;
  std::string name = words_[1000 + random_() % kNames];
  name.front() = static_cast<char>(name.front() - 'a' + 'A');
  switch (random_() % 6) {
    case 0:
      memo_.content += " told by " + name;
      break;
    case 1:
      memo_.content += " on 202" + std::to_string(random_() % 3) + "-" +
                       std::to_string(10 + random_() % 3) + "-" +
                       std::to_string(10 + random_() % 20);
      break;
    case 2:
      memo_.content += " in " + name;
      break;
    case 3:
      memo_.content += ", because " + words_[random_() % kVocabulary] + " broke";
      break;
    default:
      break;
  }
}

Result<MemoryCorpus::Written> MemoryCorpus::write_store(platform::FileSystem& files,
                                                        const std::string& path,
                                                        std::uint64_t memos) {
  auto file = files.open(path, platform::FileSystem::OpenMode::kReplace);
  if (!file) return std::unexpected(file.error());
  std::string buffer(memory::kMagic);
  Written written;
  for (std::uint64_t i = 0; i < memos; ++i) {
    const Memo& memo = next(memos);
    const memory::RecordFields fields{.props = 1U << (i % 16),
                                      .written = kStart + 60 * i,
                                      .content = memo.content,
                                      .topic = memo.topic,
                                      .keywords = memo.keywords,
                                      .vector = {}};
    const std::size_t start = buffer.size();
    buffer.resize(start + memory::RecordLength(fields).value_or(0));
    memory::WriteRecord(fields, buffer.data() + start);
    written.postings += memo.keywords.size();
    if (buffer.size() >= kBuffer || i + 1 == memos) {
      if (const Status put = (*file)->append(buffer); !put) return std::unexpected(put.error());
      written.bytes += buffer.size();
      buffer.clear();
    }
  }
  if (const Status kept = (*file)->sync(); !kept) return std::unexpected(kept.error());
  return written;
}

}  // namespace mrb::bench
