#include "vfs/store_query.h"

#include "common/answer.h"
#include "common/share_out.h"
#include "common/text.h"
#include "query/evaluator.h"
#include "vfs/file_element.h"
#include "vfs/store_snapshot.h"

namespace mrb::vfs {
namespace {

constexpr std::size_t kFilesPerTurn = 64;

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

/// For every file, whether it fits.
std::vector<char> Fits(const query::Expression& expression, const StoreSnapshot& snapshot,
                       const std::vector<std::string>& registers) {
  std::vector<char> fits(snapshot.files.size());
  ShareOut(fits.size(), kFilesPerTurn, [&] {
    return [&, element = FileElement(*snapshot.store),
            evaluator = query::Evaluator(expression, registers)](std::size_t begin,
                                                                 std::size_t end) mutable {
      for (std::size_t i = begin; i < end; ++i) {
        element.look_at(snapshot.files[i]);
        fits[i] = evaluator.matches(element) ? 1 : 0;
      }
    };
  });
  return fits;
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

std::string RunQuery(const VerbCall& call) {
  if (Trim(call.arguments).empty()) return ErrorAnswer("empty query");
  const auto expression = query::Expression::parse(call.arguments);
  if (!expression) return ErrorAnswer(expression.error().text);
  const auto store = QueriedStore(call);
  if (!store) return ErrorAnswer(store.error().text);
  if ((*store)->is_cache()) return ErrorAnswer(NothingToSearch(**store));
  const auto& registers = call.caller.registers;
  const StoreSnapshot snapshot = TakeSnapshot(*store);
  const std::vector<char> fits =
      Fits(*expression, snapshot, registers ? registers->entries() : std::vector<std::string>());
  std::string lines;
  std::vector<std::string> entries;
  std::size_t count = 0;
  for (std::size_t i = 0; i < fits.size(); ++i) {
    if (fits[i] == 0) continue;
    AppendLine(lines, snapshot.files[i], ++count);
    if (count <= CommandRegister::kMostEntries) entries.emplace_back(snapshot.files[i].path);
  }
  if (registers) registers->fill(std::move(entries));
  return OkAnswer(std::to_string(count) + " match(es)\n" + lines);
}

}  // namespace mrb::vfs
