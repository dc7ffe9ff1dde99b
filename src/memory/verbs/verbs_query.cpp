// query: an expression of the query language, asked of every memo of one context.

#include <algorithm>

#include "common/answer.h"
#include "common/parallel.h"
#include "common/text.h"
#include "memory/recall/memo_element.h"
#include "memory/verbs/fields.h"
#include "memory/verbs/memo_lines.h"
#include "memory/verbs/memo_text.h"
#include "memory/verbs/verb_table.h"
#include "vfs/query/evaluator.h"
#include "vfs/query/glob.h"
#include "vfs/query/query_text.h"

namespace mrb::memory {

namespace {

constexpr std::size_t kMemosPerTurn = 1024;

/// What a call asks: an expression, in "?( )" or bare, or a glob for the id and the topics.
struct Question {
  std::string_view text;
  bool is_glob = false;
};

Result<Question> ReadQuestion(std::string_view field) {
  if (field.starts_with("?(")) {
    const query::QueryText query = query::SplitQuery(field);
    if (!query.closed) return Fail(ErrorKind::kInvalidArgument, "missing ')'");
    field = query.expression;
  } else if (!field.empty() && field.find_first_of("\"()$=&|<>!") == std::string_view::npos) {
    return Question{field, true};
  }
  if (field.empty()) return Fail(ErrorKind::kInvalidArgument, "empty query");
  return Question{field, false};
}

bool FitsGlob(std::string_view glob, const MemoElement& memo) {
  return query::Matches(glob, memo.name()) ||
         std::ranges::any_of(memo.topics(),
                             [&](std::string_view topic) { return query::Matches(glob, topic); });
}

/// The rows that fit, in their order. `start` makes a function of a memo for one thread.
template <typename Start>
std::vector<std::uint32_t> FittingRows(const ContextIndex& index, Start start) {
  std::vector<char> fits(index.memos().size());
  ParallelFor(fits.size(), kMemosPerTurn, [&] {
    return [&, memo = MemoElement(index), is_fit = start()](std::size_t begin,
                                                            std::size_t end) mutable {
      for (std::size_t row = begin; row < end; ++row) {
        memo.look_at(static_cast<std::uint32_t>(row));
        fits[row] = is_fit(memo) ? 1 : 0;
      }
    };
  });
  std::vector<std::uint32_t> rows;
  for (std::size_t row = 0; row < fits.size(); ++row) {
    if (fits[row] != 0) rows.push_back(static_cast<std::uint32_t>(row));
  }
  return rows;
}

void FillRegister(CommandRegister& entries, const ContextIndex& index,
                  std::span<const std::uint32_t> rows) {
  std::vector<std::string> ids;
  for (const std::uint32_t row : rows.first(std::min(rows.size(), CommandRegister::kMaxEntries))) {
    ids.push_back(MemoId(index, row));
  }
  entries.fill(std::move(ids));
}

std::string RunQuery(const VerbCall& call) {
  const auto fields = SplitFields(call.rest, 3);
  if (fields.size() < 3) return UsageError(call);
  const auto question = ReadQuestion(fields[2]);
  if (!question) return ErrorAnswer(question.error().text);
  const auto expression = query::Expression::parse(question->is_glob ? "1" : question->text);
  if (!expression) return ErrorAnswer(expression.error().text);
  const auto registers = call.options.registers ? call.options.registers(call.bot) : nullptr;
  const auto values = registers ? registers->entries() : std::vector<std::string>();
  const auto access = call.contexts.read(fields[1]);
  if (!access) return ErrorAnswer(access.error().text);
  const ContextIndex& index = access->store->index();
  const auto rows =
      question->is_glob
          ? FittingRows(index,
                        [&] {
                          return [glob = question->text](const MemoElement& memo) {
                            return FitsGlob(glob, memo);
                          };
                        })
          : FittingRows(index, [&] {
              return [evaluator = query::Evaluator(*expression, values)](
                         const MemoElement& memo) mutable { return evaluator.matches(memo); };
            });
  if (registers) FillRegister(*registers, index, rows);
  std::string answer = OkAnswer(std::to_string(rows.size()) + " match(es)");
  AppendMemoLines(answer, index, rows, "\n  ", [](std::string&, std::size_t) {});
  return answer;
}

constexpr VerbRow kRows[] = {
    {.verb = "query",
     .aliases = "memquery querymemo qmemo",
     .usage = "memory.query <botid>, <context>, <?()-expr>",
     .summary = "Boolean ?() search over ONE named context's MEMOS with globs — explicit per-call "
                "scope, returns the matching topic#n ids (ready for getmemo / register chaining).",
     .run = RunQuery},
};

}  // namespace

std::span<const VerbRow> QueryVerbs() {
  return kRows;
}

}  // namespace mrb::memory
