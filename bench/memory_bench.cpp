// Persistent memory at size: memory_bench [--dir=<folder>] [workload ...]
//
//   load-1m    open a store of 1,000,000 memos, five times
//   load-10m   open a store of 10,000,000 memos, once (needs 4 GB of disk and 9 GB of memory)
//   add        durable addmemo into the 1,000,000 memos, against append + flush of the same bytes
//   links      the index's share of such an add: everything but the disk, links included
//   retrieve   read random topics of them
//   delete     remove a topic of them
//   keywords   memory.keywords and memory.search over the 1,000,000 memos, answers included
//   search-10m memory.search over 10,000,000 memos
//   copy       import, clone and export the 1,000,000 memos
//   contexts   list 10,000 contexts, none of them loaded
//   webs       derive the webs of 1,000,000 memos, and look things up on them
//   semantic   the nearest of 100,000 vectors of 768 numbers
//   tokenize   run the tokenizer over their text
//
// Without names: all but those over 10,000,000 memos. Store files are made once and left in the
// folder for the next run.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "memory/context/context_store.h"
#include "memory/record/store_format.h"
#include "memory/text/tokenizer.h"
#include "memory/verbs/memory_service.h"
#include "memory_corpus.h"
#include "platform/paths.h"
#include "platform/system_info.h"

namespace mrb::bench {
namespace {

constexpr std::uint64_t kMillion = 1'000'000;
constexpr double kMegabyte = 1e6;

double SecondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

double ResidentMegabytes() {
  return static_cast<double>(platform::ProcessResidentBytes()) / kMegabyte;
}

[[noreturn]] void Stop(const std::string& why) {
  std::fprintf(stderr, "memory_bench: %s\n", why.c_str());
  std::exit(1);
}

class Bench {
 public:
  explicit Bench(std::string folder) : folder_(std::move(folder)) {}

  void run(const std::string& workload) {
    if (workload == "make-1m") return void(context("million", kMillion));
    if (workload == "load-1m") return load(kMillion, 5, "1.0 s, 900 MB");
    if (workload == "load-10m") return load(10 * kMillion, 1, "12 s, 9000 MB");
    if (workload == "add") return add();
    if (workload == "links") return links();
    if (workload == "retrieve") return retrieve();
    if (workload == "delete") return remove();
    if (workload == "keywords") return keywords();
    if (workload == "search-10m") return search_ten_million();
    if (workload == "copy") return copy();
    if (workload == "contexts") return contexts();
    if (workload == "webs") return webs();
    if (workload == "semantic") return semantic();
    if (workload == "tokenize") return tokenize();
    Stop("no workload '" + workload + "'");
  }

 private:
  /// The folder of a context of `memos` memos; its store is made when it is not there, or anew.
  std::string context(const std::string& name, std::uint64_t memos, bool anew = false,
                      bool framed = false) {
    const std::string path = platform::JoinPath(folder_, name);
    const std::string store = platform::JoinPath(path, memory::kStoreFileName);
    if (!platform::MakeDirectories(files_, path)) Stop("cannot make " + path);
    if (anew || !platform::Exists(files_, store)) {
      MemoryCorpus corpus(1, framed);
      const auto written = corpus.write_store(files_, store, memos);
      if (!written) Stop(written.error().text);
      std::printf("made %s: %llu memos, %llu postings, %.0f MB\n", store.c_str(),
                  static_cast<unsigned long long>(memos),
                  static_cast<unsigned long long>(written->postings),
                  static_cast<double>(written->bytes) / kMegabyte);
    }
    return path;
  }

  /// A service over the folder, with a context "work" of a million memos loaded that may be
  /// changed.
  memory::MemoryService& service() {
    if (!service_) {
      (void)context("work", kMillion, true);
      open_service(folder_);
      std::printf("%s\n", service_->execute("bench", "stats", "bench, work").c_str());
    }
    return *service_;
  }

  void open_service(const std::string& contexts_folder) {
    memory::MemoryOptions options;
    options.contexts_folder = contexts_folder;
    options.files = &files_;
    options.now = [] { return std::uint64_t{1'700'000'000}; };
    service_ = std::make_unique<memory::MemoryService>(options);
  }

  /// Brings the file into the system's cache.
  void warm(const std::string& path) {
    auto file = files_.open(path, platform::FileSystem::OpenMode::kRead);
    if (!file) Stop(file.error().text);
    std::vector<char> buffer(std::size_t{4} << 20U);
    std::uint64_t at = 0;
    while (const std::size_t got = (*file)->read_at(at, buffer.data(), buffer.size()).value_or(0)) {
      at += got;
    }
  }

  void load(std::uint64_t memos, int runs, const char* target) {
    service_.reset();  // its memory is not to be counted
    const std::string path = context("corpus-" + std::to_string(memos), memos);
    warm(platform::JoinPath(path, memory::kStoreFileName));
    std::vector<double> times;
    double resident = 0;
    for (int i = 0; i < runs; ++i) {
      memory::ContextStore store(files_, path);
      std::uint64_t loaded = 0;
      const std::clock_t cpu = std::clock();
      times.push_back(SecondsOf([&] { loaded = store.load().value_or(0); }));
      if (loaded < memos) Stop("loaded only " + std::to_string(loaded));
      resident = std::max(resident, ResidentMegabytes());
      const double spent = static_cast<double>(std::clock() - cpu) / CLOCKS_PER_SEC;
      std::printf("  run %d: %.3f s (%.3f s of all threads), %u keywords, %u topics\n", i + 1,
                  times.back(), spent, store.index().keywords().size(),
                  store.index().topics().size());
    }
    std::printf(
        "load %llu memos on %u threads: median %.3f s of %d, %.0f MB resident (target %s)\n",
        static_cast<unsigned long long>(memos), std::thread::hardware_concurrency(), Median(times),
        runs, resident, target);
  }

  void add() {
    constexpr int kAdds = 400;
    auto& memories = service();
    const std::string raw_path = platform::JoinPath(folder_, "raw.bin");
    auto raw = files_.open(raw_path, platform::FileSystem::OpenMode::kReplace);
    if (!raw) Stop(raw.error().text);
    MemoryCorpus corpus(2);
    std::vector<double> adds, appends;
    for (int i = 0; i < kAdds; ++i) {
      const auto& memo = corpus.next(kMillion);
      const memory::RecordFields fields{.props = 0,
                                        .written = 1,
                                        .content = memo.content,
                                        .topic = memo.topic,
                                        .keywords = memo.keywords,
                                        .vector = {}};
      std::string bytes(memory::RecordLength(fields).value_or(0), '\0');
      memory::WriteRecord(fields, bytes.data());
      appends.push_back(SecondsOf([&] {
        if (!(*raw)->append(bytes) || !(*raw)->sync()) Stop("append failed");
      }));
      const std::string rest = "bench, work, " + memo.topic + ", , , " + memo.content;
      adds.push_back(SecondsOf([&] {
        if (!memories.execute("bench", "addmemo", rest).starts_with("OK: ")) Stop("add failed");
      }));
    }
    (void)files_.remove_file(raw_path);
    std::printf(
        "durable addmemo at 1,000,000 memos: median %.3f ms of %d; append + flush of the same "
        "bytes: median %.3f ms; ratio %.2f (target 1.30)\n",
        Median(adds) * 1e3, kAdds, Median(appends) * 1e3, Median(adds) / Median(appends));
  }

  /// What an add does in memory at a million memos, most of it for links and webs. A durable add
  /// without links would save less than this.
  void links() {
    constexpr int kAdds = 2'000;
    service_.reset();
    const std::string path = context("corpus-1000000", kMillion);
    auto source = memory::LoadStoreFile(files_, platform::JoinPath(path, memory::kStoreFileName));
    if (!source) Stop(source.error().text);
    memory::RecordBatch batch;
    batch.borrow(source->heap.bytes(), source->rows.size());
    memory::ContextStore store;  // in memory only
    if (!store.exchange({}, batch, false)) Stop("no memory");
    (void)store.index().webs();
    MemoryCorpus corpus(2);
    std::vector<double> times;
    times.reserve(kAdds);
    for (int i = 0; i < kAdds; ++i) {
      const auto& memo = corpus.next(kMillion);
      times.push_back(SecondsOf([&] {
        if (!store.append({.written = 1,
                           .content = memo.content,
                           .topic = memo.topic,
                           .keywords = memo.keywords,
                           .vector = {}})) {
          Stop("append failed");
        }
      }));
    }
    double sum = 0;
    for (const double time : times) sum += time;
    std::printf(
        "add in memory at 1,000,000 memos, links and webs included: median %.1f us, "
        "mean %.1f us of %d\n",
        Median(times) * 1e6, sum / kAdds * 1e6, kAdds);
  }

  void retrieve() {
    constexpr int kReads = 100'000;
    auto& memories = service();
    std::uint64_t bytes = 0;
    const double time = SecondsOf([&] {
      for (std::uint64_t i = 0; i < kReads; ++i) {
        const std::uint64_t topic = i * 7919 % (kMillion / MemoryCorpus::kMemosPerTopic);
        bytes +=
            memories.execute("bench", "retrieve", "bench, work, topic-" + std::to_string(topic))
                .size();
      }
    });
    std::printf("retrieve of %d random topics: %.2f us each, %.0f bytes on average\n", kReads,
                time / kReads * 1e6, static_cast<double>(bytes) / kReads);
  }

  void remove() {
    auto& memories = service();
    std::vector<double> times;
    for (int i = 0; i < 3; ++i) {
      const std::string rest = "bench, work, topic-" + std::to_string(100 + i);
      (void)memories.execute("bench", "addmemo", rest + ", , , to be deleted");
      times.push_back(SecondsOf([&] {
        if (!memories.execute("bench", "delete", rest).starts_with("OK: ")) Stop("delete failed");
      }));
    }
    std::printf("delete of a topic among 1,000,000 memos: median %.2f s of %zu\n", Median(times),
                times.size());
  }

  /// Runs a verb `runs` times; prints the median time beside the target, and the answer's first
  /// line.
  void time_verb(const std::string& name, const std::string& verb, const std::string& rest,
                 int runs, const char* target) {
    std::vector<double> times;
    times.reserve(static_cast<std::size_t>(runs));
    std::string answer;
    for (int i = 0; i < runs; ++i) {
      times.push_back(SecondsOf([&] { answer = service().execute("bench", verb, rest); }));
    }
    if (!answer.starts_with("OK: ")) Stop(verb + ": " + answer);
    std::printf("%s: median %.3f ms of %d, first %.3f ms (target %s); %zu bytes: %s\n",
                name.c_str(), Median(times) * 1e3, runs, times.front() * 1e3, target, answer.size(),
                answer.substr(0, answer.find('\n')).c_str());
  }

  /// How many memos the words reach.
  std::uint64_t hits_of(const std::string& context, const std::string& words) {
    const std::string answer =
        service().execute("bench", "keywords", "bench, " + context + ", " + words);
    return std::strtoull(answer.c_str() + 4, nullptr, 10);
  }

  /// `count` neighbouring words, the most frequent ones that reach at most `hits` memos together:
  /// frequencies fall with the rank.
  std::string words_of(const std::string& context, std::size_t count, std::uint64_t hits) {
    const MemoryCorpus corpus;
    const auto words = [&](std::size_t rank) {
      std::string text(corpus.word(rank));
      for (std::size_t i = 1; i < count; ++i) text.append(" ").append(corpus.word(rank + i));
      return text;
    };
    std::size_t low = 0;
    std::size_t high = MemoryCorpus::kVocabulary - count;
    while (low < high) {
      const std::size_t middle = (low + high) / 2;
      hits_of(context, words(middle)) > hits ? low = middle + 1 : high = middle;
    }
    return words(low);
  }

  void keywords() {
    for (int i = 0; i < 30; ++i) {
      const std::string topic = "rare-" + std::to_string(i);
      (void)service().execute("bench", "add", "bench, work, " + topic + ", , a quetzalcoatl seen");
    }
    const auto word = [&](std::uint64_t hits) {
      return "bench, work, " + words_of("work", 1, hits);
    };
    time_verb("keywords, rare word", "keywords", "bench, work, quetzalcoatl", 101, "0.03 ms");
    time_verb("keywords, 1,000 hits", "keywords", word(1000), 101, "0.4 ms");
    time_verb("keywords, 100,000 hits", "keywords", word(100'000), 31, "30 ms");
    const std::string three = words_of("work", 3, 108'000);
    time_verb("three words, all listed", "keywords", "bench, work, " + three, 31, "30 ms");
    time_verb("three words, search", "search", "bench, {work}, " + three, 101, "5 ms");
  }

  void search_ten_million() {
    service_.reset();
    (void)context("corpus-10000000", 10 * kMillion);
    open_service(folder_);
    const std::string three = words_of("corpus-10000000", 3, 1'080'000);
    time_verb("three words at 10,000,000, search", "search", "bench, {corpus-10000000}, " + three,
              31, "50 ms");
    service_.reset();
  }

  void copy() {
    const std::string source = platform::JoinPath(folder_, "work/data.mrb4");
    for (int run = 0; run < 3; ++run) {
      const std::string to = "copy-" + std::to_string(run);
      (void)service();
      std::string imported = "bench, imported-";
      imported.append(to).append(", ").append(source);
      time_verb("import of 1,000,000 memos", "import", imported, 1, "4000 ms");
      time_verb("clone of 1,000,000 memos", "clone", "bench, work, " + to, 1, "4000 ms");
      time_verb("export of 1,000,000 memos", "export", "bench, work, " + folder_ + "/exported", 1,
                "none");
      for (const std::string& id : {to, "imported-" + to}) {
        (void)service().execute("bench", "purge", "bench, " + id);
        std::string purged = platform::JoinPath(folder_, ".purged/" + id + "-1700000000/");
        (void)files_.remove_file(purged.append(memory::kStoreFileName));
      }
    }
    (void)files_.remove_file(folder_ + "/exported");
  }

  void contexts() {
    constexpr int kContexts = 10'000;
    service_.reset();
    const std::string lineup = platform::JoinPath(folder_, "lineup");
    for (int i = 0; i < kContexts; ++i) {
      const std::string path = platform::JoinPath(lineup, "context-" + std::to_string(i));
      if (platform::Exists(files_, path)) continue;
      if (!platform::MakeDirectories(files_, path)) Stop("cannot make " + path);
      auto file = files_.open(platform::JoinPath(path, memory::kStoreFileName),
                              platform::FileSystem::OpenMode::kReplace);
      if (!file || !(*file)->append(memory::kMagic)) Stop("cannot write in " + path);
    }
    open_service(lineup);
    time_verb("listing of 10,000 contexts", "contexts", "bench", 21, "60 ms");
    service_.reset();
  }

  void webs() {
    service_.reset();
    const std::string path = context("framed", kMillion, false, true);
    {
      memory::ContextStore store(files_, path);
      if (store.load().value_or(0) < kMillion) Stop("cannot load " + path);
      std::vector<double> times;
      times.reserve(5);
      for (int run = 0; run < 5; ++run) {
        times.push_back(SecondsOf([&] {
          (void)memory::Webs::build(store.heap(), store.index().memos(),
                                    std::thread::hardware_concurrency());
        }));
      }
      std::printf(
          "webs of 1,000,000 memos: median %.3f s of %zu (target 2.5 s), %zu dates, %zu names\n",
          Median(times), times.size(), store.index().webs().time().size(),
          store.index().webs().terms(memory::Web::kWho).size());
    }
    open_service(folder_);
    const std::string name(MemoryCorpus().word(1003));
    (void)service().execute("bench", "who", "bench, framed, " + name);
    time_verb("who", "who", "bench, framed, " + name, 101, "1 ms");
    time_verb("where", "where", "bench, framed, " + name, 101, "1 ms");
    time_verb("when", "when", "bench, framed, 2021-11-12", 101, "1 ms");
    time_verb("temporal", "temporal", "bench, framed, 2021-11-12", 101, "1 ms");
    service_.reset();
  }

  void semantic() {
    constexpr std::size_t kVectors = 100'000;
    constexpr std::size_t kDimension = 768;
    service_.reset();
    const std::string path = platform::JoinPath(folder_, "vectors");
    if (!platform::MakeDirectories(files_, path)) Stop("cannot make " + path);
    std::mt19937 random(1);
    std::normal_distribution<float> normal;
    std::vector<float> vector(kDimension);
    const auto draw = [&] { std::ranges::generate(vector, [&] { return normal(random); }); };
    if (memory::ContextStore store(files_, path); store.load().value_or(0) < kVectors) {
      memory::RecordBatch batch;
      for (std::size_t i = 0; i < kVectors; ++i) {
        draw();
        const std::string content = "memo " + std::to_string(i);
        if (!batch.add({.written = 1,
                        .content = content,
                        .topic = "t",
                        .keywords = {},
                        .vector = vector})) {
          Stop("a memo is too long");
        }
      }
      if (!store.exchange({}, batch, false)) Stop("cannot write " + path);
    }
    memory::MemoryOptions options;
    options.contexts_folder = folder_;
    options.files = &files_;
    options.now = [] { return std::uint64_t{1'700'000'000}; };
    options.embedder = [&](const std::string&, std::string_view) {
      return Result<std::vector<float>>(vector);
    };
    draw();
    service_ = std::make_unique<memory::MemoryService>(options);
    (void)service().execute("bench", "stats", "bench, vectors");
    time_verb("semantic, 100,000 vectors of 768", "semantic", "bench, vectors, x", 51, "40 ms");
    service_.reset();
  }

  void tokenize() {
    MemoryCorpus corpus(3);
    std::vector<std::string> texts(100'000);
    std::uint64_t bytes = 0;
    for (std::string& text : texts) {
      text = corpus.next(kMillion).content;
      bytes += text.size();
    }
    std::vector<double> times;
    times.reserve(5);
    std::uint64_t tokens = 0;
    for (int run = 0; run < 5; ++run) {
      times.push_back(SecondsOf([&] {
        for (const std::string& text : texts) tokens += memory::StripToTokens(text).size();
      }));
    }
    std::printf("tokenizer: median %.0f MB/s, %.2f us a memo (%llu tokens)\n",
                static_cast<double>(bytes) / kMegabyte / Median(times),
                Median(times) / static_cast<double>(texts.size()) * 1e6,
                static_cast<unsigned long long>(tokens / times.size()));
  }

  std::string folder_;
  platform::FileSystem& files_ = platform::SystemFiles();
  std::unique_ptr<memory::MemoryService> service_;
};

}  // namespace
}  // namespace mrb::bench

int main(int argc, char** argv) {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  std::string folder = "memory-bench";
  std::vector<std::string> workloads;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument.starts_with("--dir=")) {
      folder = argument.substr(6);
    } else {
      workloads.push_back(argument);
    }
  }
  if (workloads.empty())
    workloads = {"load-1m",  "add",  "links",    "retrieve", "delete",
                 "keywords", "copy", "contexts", "webs",     "tokenize"};
  mrb::bench::Bench bench(folder);
  for (const std::string& workload : workloads) bench.run(workload);
}
