// find: files by path and by the words in them.

#include <array>
#include <optional>

#include "common/answer.h"
#include "common/parallel.h"
#include "common/text.h"
#include "vfs/grep/path_filter.h"
#include "vfs/model/file_words.h"
#include "vfs/model/tree_path.h"
#include "vfs/query/glob.h"
#include "vfs/search/line_search.h"
#include "vfs/store/store_snapshot.h"
#include "vfs/verbs/verbs_grep.h"

namespace mrb::vfs {
namespace {

constexpr std::size_t kFilesPerTurn = 16;

struct FindOptions {
  std::string name = "*";
  std::optional<std::string> keyword;
  std::optional<std::string> store;
};

/// Without the quotes that may stand around it.
std::string Unquoted(std::string_view text) {
  text = Trim(text);
  if (text.size() > 1 && text.front() == '"' && text.back() == '"') {
    text = text.substr(1, text.size() - 2);
  }
  return std::string(text);
}

/// `name:<glob> keyword:<glob>`, either of them, in any order. What stands before the first of them
/// is a name. A value runs to the next one, blanks included, with quotes or without.
std::optional<FindOptions> ParseFind(std::string_view line) {
  constexpr std::array<std::string_view, 3> kKeys{"name:", "keyword:", "--store="};
  std::array<std::optional<std::string>, kKeys.size()> values;
  std::size_t key = 0;
  std::size_t begin = 0;
  const auto take = [&](std::size_t end) {
    std::string value = Unquoted(line.substr(begin, end - begin));
    if (!value.empty() || begin > 0) values.at(key) = std::move(value);
  };
  for (std::size_t at = 0; at < line.size(); ++at) {
    if (at > 0 && line[at - 1] != ' ' && line[at - 1] != '\t') continue;
    for (std::size_t next = 0; next < kKeys.size(); ++next) {
      if (!line.substr(at).starts_with(kKeys.at(next))) continue;
      take(at);
      key = next;
      begin = at + kKeys.at(next).size();
      break;
    }
  }
  take(line.size());
  const auto& [name, keyword, store] = values;
  if ((!name && !keyword) || (name && name->empty()) || (keyword && keyword->empty()) ||
      (name && name->starts_with("--"))) {
    return std::nullopt;
  }
  FindOptions options;
  options.keyword = keyword;
  options.store = store;
  if (name) options.name = NormalRelative(*name).value_or(*name);
  return options;
}

/// Looks for a word that fits a glob in many texts, one thread's worth of it.
class WordSearch {
 public:
  /// What the glob says besides "*" and "?" must be in the line; then its words are compared.
  [[nodiscard]] static Result<search::Matcher> prefilter(std::string_view glob) {
    std::string pattern;
    for (const char c : glob) {
      if (c == '*') {
        pattern += ".*";
      } else if (c == '?') {
        pattern += '.';
      } else {
        if (!IsWordByte(c)) pattern += '\\';
        pattern += c;
      }
    }
    return search::Matcher::make(pattern, {.ignore_case = true});
  }

  WordSearch(const search::Matcher& prefilter, std::string_view glob)
      : lines_(prefilter), glob_(glob) {}

  [[nodiscard]] bool found_in(std::string_view text) {
    bool found = false;
    lines_.search(text, [&](const search::LineMatch& match) {
      ForEachWord(match.line, [&](std::string_view word) {
        found = query::Matches(glob_, word);
        return !found;
      });
      return !found;
    });
    return found;
  }

 private:
  search::LineSearch lines_;
  std::string_view glob_;
};

std::vector<char> Fits(const StoreSnapshot& snapshot, const FindOptions& options,
                       const std::optional<search::Matcher>& keyword) {
  const auto& files = snapshot.files;
  std::vector<char> fits(files.size());
  ParallelFor(files.size(), kFilesPerTurn, [&] {
    std::optional<WordSearch> words;
    if (keyword) words.emplace(*keyword, *options.keyword);
    return [&, words = std::move(words)](std::size_t begin, std::size_t end) mutable {
      for (std::size_t i = begin; i < end; ++i) {
        const SnapshotFile& file = files[i];
        const bool fit =
            !words || words->found_in(file.path) || words->found_in(file.bytes.bytes());
        fits[i] = fit ? 1 : 0;
      }
    };
  });
  return fits;
}

}  // namespace

std::string RunFind(const VerbCall& call) {
  const auto options = ParseFind(call.arguments);
  if (!options) {
    return ErrorAnswer("usage  find [name:<glob>] [keyword:<glob>] [--store=dir]");
  }
  std::optional<search::Matcher> keyword;
  if (options->keyword) {
    auto made = WordSearch::prefilter(*options->keyword);
    if (!made) return ErrorAnswer(made.error().text);
    keyword = *std::move(made);
  }
  const auto stores = SearchedStores(call, options->store);
  if (!stores) return ErrorAnswer(stores.error().text);
  std::string lines;
  std::vector<std::string> paths;
  std::size_t count = 0;
  for (const auto& store : *stores) {
    const FileLabels labels(call, *store);
    const StoreSnapshot snapshot =
        TakeSnapshot(store, SnapshotOf::kNewest, [&](const SnapshotFile& file) {
          return !file.is_deleted && FitsPathOrName(options->name, file.path);
        });
    const auto fits = Fits(snapshot, *options, keyword);
    for (std::size_t i = 0; i < fits.size(); ++i) {
      if (fits[i] == 0) continue;
      const SnapshotFile& file = snapshot.files[i];
      std::string label;
      labels.append(label, file.path);
      lines.append("  ").append(label).append("  v").append(std::to_string(file.version));
      lines.append("  ").append(std::to_string(file.bytes.bytes().size())).append("b  ");
      lines.append(file.author.text()).append("  ").append(StampText(file.stamp)).append("\n");
      if (++count <= CommandRegister::kMaxEntries) paths.push_back(std::move(label));
    }
  }
  if (call.caller.registers) call.caller.registers->fill(std::move(paths));
  return OkAnswer(std::to_string(count) + " file(s)\n" + lines);
}

}  // namespace mrb::vfs
