#include "vfs/verbs/store_query.h"

#include "common/answer.h"
#include "common/parallel.h"
#include "common/text.h"
#include "vfs/grep/file_element.h"
#include "vfs/query/evaluator.h"
#include "vfs/store/store_snapshot.h"

namespace mrb::vfs {
namespace {

constexpr std::size_t kFilesPerTurn = 64;
constexpr std::size_t kTypicalLine = 128;

Result<std::shared_ptr<VersionStore>> QueriedStore(const VerbCall& call) {
  if (call.args.option("store")) return ChosenStore(call);
  std::shared_ptr<VersionStore> only;
  std::size_t count = 0;
  for (auto& store : call.service.registry().all()) {
    if (store->category() != StoreCategory::kEnrolled) continue;
    ++count;
    only = std::move(store);
  }
  if (count == 0) return ChosenStore(call);  // which says that there is none
  if (count > 1) {
    return Fail(ErrorKind::kInvalidArgument,
                std::to_string(count) +
                    " stores enrolled — ?() queries can't pick one; set a resolution scope to "
                    "disambiguate");
  }
  return only;
}

void AppendLine(std::string& text, const SnapshotFile& file, std::size_t number) {
  text.append("  [").append(std::to_string(number)).append("] ").append(file.path).append("  <v");
  text.append(std::to_string(file.version)).append("  ");
  if (file.is_deleted) {
    text += "deleted";
  } else {
    text.append(std::to_string(file.bytes.bytes().size())).append("b");
  }
  text.append("  ").append(file.author.text()).append("  ").append(StampText(file.stamp));
  text += ">\n";
}

}  // namespace

StoreSnapshot FittingFiles(const std::shared_ptr<VersionStore>& store,
                           const query::Expression& expression,
                           const std::vector<std::string>& registers) {
  if (expression.is_quick()) {
    FileElement element(*store);
    query::Evaluator evaluator(expression, registers);
    return TakeSnapshot(store, SnapshotOf::kNewest, [&](const SnapshotFile& file) {
      element.look_at(file);
      return evaluator.matches(element);
    });
  }
  StoreSnapshot snapshot = TakeSnapshot(store);
  std::vector<SnapshotFile>& files = snapshot.files;
  std::vector<char> fits(files.size());
  ParallelFor(fits.size(), kFilesPerTurn, [&] {
    return [&, element = FileElement(*store), evaluator = query::Evaluator(expression, registers)](
               std::size_t begin, std::size_t end) mutable {
      for (std::size_t i = begin; i < end; ++i) {
        element.look_at(files[i]);
        fits[i] = evaluator.matches(element) ? 1 : 0;
      }
    };
  });
  std::vector<SnapshotFile> fitting;
  for (std::size_t i = 0; i < files.size(); ++i) {
    if (fits[i] != 0) fitting.push_back(std::move(files[i]));
  }
  files = std::move(fitting);
  return snapshot;
}

std::string RunQuery(const VerbCall& call) {
  if (Trim(call.arguments).empty()) return ErrorAnswer("empty query");
  const auto expression = query::Expression::parse(call.arguments);
  if (!expression) return ErrorAnswer(expression.error().text);
  const auto store = QueriedStore(call);
  if (!store) return ErrorAnswer(store.error().text);
  if ((*store)->is_cache()) return ErrorAnswer(NothingToSearch(**store));
  const auto& registers = call.caller.registers;
  const StoreSnapshot snapshot = FittingFiles(
      *store, *expression, registers ? registers->entries() : std::vector<std::string>());
  std::string lines;
  lines.reserve(snapshot.files.size() * kTypicalLine);
  std::vector<std::string> entries;
  std::size_t count = 0;
  for (const SnapshotFile& file : snapshot.files) {
    AppendLine(lines, file, ++count);
    if (count <= CommandRegister::kMaxEntries) entries.emplace_back(file.path);
  }
  if (registers) registers->fill(std::move(entries));
  return OkAnswer(std::to_string(count) + " match(es)\n" + lines);
}

}  // namespace mrb::vfs
