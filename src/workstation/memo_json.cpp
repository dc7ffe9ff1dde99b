#include "workstation/memo_json.h"

#include "common/text.h"
#include "memory/context/memo_mark.h"
#include "memory/record/memo_types.h"

namespace mrb::workstation {

void AddMemo(JsonWriter& json, const memory::ContextIndex& index, std::uint32_t row) {
  const memory::MemoRow& memo = index.memos()[row];
  json.name_field("topic", index.topics().name(memo.topic));
  json.field("n", std::uint64_t{memo.ordinal} + 1).field("mark", MemoMark(index, row));
  json.key("types").begin_array();
  const std::string types = memory::FormatMemoTypes(memo.props);
  for (const std::string_view type : Split(types, '|')) {
    if (type != "untyped") json.value(type);
  }
  json.end_array().field("written", memo.written);
  json.field("size", index.record(row).content.size());
}

void AddFailures(JsonWriter& json, const Failures& failures) {
  json.key("failed").begin_array();
  for (const ContextFailure& failure : failures) {
    json.begin_object().field("context", failure.context).field("error", failure.error.text);
    json.end_object();
  }
  json.end_array();
}

std::vector<std::string> ContextsOf(memory::ContextRegistry& contexts, const Params& params) {
  const std::string named = params.text("contexts");
  if (named.empty()) return contexts.loaded();
  std::vector<std::string> ids;
  for (const std::string_view id : Split(named, '/')) {
    if (!id.empty()) ids.emplace_back(id);
  }
  return ids;
}

Result<memory::ReadAccess> ContextOf(memory::ContextRegistry& contexts, const Params& params) {
  const auto id = params.needed("context");
  if (!id) return std::unexpected(id.error());
  auto access = contexts.read(*id);
  if (access && access->context == nullptr) {
    return Fail(ErrorKind::kNotFound, "no such context: " + *id);
  }
  return access;
}

}  // namespace mrb::workstation
