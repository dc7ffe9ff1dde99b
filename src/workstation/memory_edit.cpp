// memory/add, update, delete and undo. Each change leaves on the shelf what takes it back.

#include "common/text.h"
#include "memory/context/memory_writer.h"
#include "memory/record/memo_types.h"
#include "memory/verbs/fields.h"
#include "workstation/route_context.h"

namespace mrb::workstation {
namespace {

using memory::MemoUndo;
using memory::WriteFailure;

/// What a page sends of a memo.
struct Draft {
  std::string context;
  std::string topic;
  std::string content;
  std::vector<std::string> keywords;
  std::uint32_t types = 0;

  [[nodiscard]] memory::Memo memo() const {
    return {.topic = topic, .content = content, .keywords = keywords, .types = types};
  }
};

Result<Draft> DraftOf(const Params& params) {
  auto context = params.needed("context");
  auto topic = params.needed("topic");
  auto content = params.needed("content");
  for (const auto* given : {&context, &topic, &content}) {
    if (!*given) return std::unexpected(given->error());
  }
  const auto types = memory::ParseMemoTypes(params.text("types"));
  if (!types) return Fail(ErrorKind::kInvalidArgument, memory::UnknownTypeText(types.error().text));
  return Draft{*std::move(context), *std::move(topic), *std::move(content),
               memory::SplitKeywords(params.text("keywords")), *types};
}

/// A page does not make a context by changing what it takes to be in there.
Status CheckExists(RouteContext& route, const std::string& context) {
  if (route.parts.memory.contexts().exists(context)) return {};
  return Fail(ErrorKind::kNotFound, "no such context: " + context);
}

/// The number of a memo as the page sends it.
using Number = Result<std::uint64_t>;
Number NumberOf(const Params& params) {
  return params.number("n", 0, UINT32_MAX);
}

/// The memo that "n" and "mark" name; the mark may be left out. No memo has the number of one that
/// cannot be read.
memory::MemoPlace PlaceOf(const Params& params, const std::string& context, const Number& n) {
  return {context, params.text("topic"), n.value_or(0), params.text("mark")};
}

/// Whatever the page has wrong, a context that nobody can write to is said first.
std::unexpected<Error> Refused(RouteContext& route, const WriteFailure& failure, const Number& n) {
  if (failure.what == WriteFailure::What::kMissing) {
    const Status writable = route.parts.memory.contexts().check_writable(failure.context);
    if (!writable) return std::unexpected(writable.error());
    if (!n) return std::unexpected(n.error());
  }
  return std::unexpected(failure.error);
}

Answer Done(RouteContext& route, MemoUndo undo, const std::string& notice = {}) {
  JsonWriter json = BeginAnswer();
  json.field("n", undo.memos.front().n).field("notice", Trim(notice));
  json.field("undo", route.undo.put(std::move(undo)));
  return EndAnswer(json);
}

}  // namespace

Answer AnswerAddMemo(RouteContext& route, const Params& params) {
  const auto draft = DraftOf(params);
  if (!draft) return std::unexpected(draft.error());
  const auto written =
      route.parts.memory.writer().append(std::span(&draft->context, 1), draft->memo());
  if (!written) return std::unexpected(written.error().error);
  const memory::WrittenMemo& memo = written->contexts.front();
  if (memo.mark.empty()) return Fail(ErrorKind::kNoSpace, "written, but out of memory to show it");
  return Done(route,
              {MemoUndo::What::kAdded, draft->context, draft->topic, {{memo.n, {}}}, memo.mark},
              written->notice);
}

Answer AnswerUpdateMemo(RouteContext& route, const Params& params) {
  const auto draft = DraftOf(params);
  if (!draft) return std::unexpected(draft.error());
  if (const Status exists = CheckExists(route, draft->context); !exists) {
    return std::unexpected(exists.error());
  }
  const Number n = NumberOf(params);
  MemoUndo undo;
  const auto notice =
      route.parts.memory.writer().update(PlaceOf(params, draft->context, n), draft->memo(), &undo);
  if (!notice) return Refused(route, notice.error(), n);
  return Done(route, std::move(undo), *notice);
}

Answer AnswerDeleteMemo(RouteContext& route, const Params& params) {
  const auto context = params.needed("context");
  if (!context) return std::unexpected(context.error());
  if (const Status exists = CheckExists(route, *context); !exists) {
    return std::unexpected(exists.error());
  }
  const Number n = NumberOf(params);
  memory::MemoryWriter writer = route.parts.memory.writer();
  MemoUndo undo;
  if (params.text("n").empty()) {
    const auto removed = writer.remove_topic(*context, params.text("topic"), &undo);
    if (!removed) return Refused(route, removed.error(), n);
  } else {
    const auto removed = writer.remove_memo(PlaceOf(params, *context, n), &undo);
    if (!removed) return Refused(route, removed.error(), n);
  }
  return Done(route, std::move(undo));
}

Answer AnswerUndo(RouteContext& route, const Params& params) {
  const auto number = params.number("undo", 0, UINT64_MAX);
  if (!number) return std::unexpected(number.error());
  const auto undo = route.undo.take(*number);
  if (!undo) return Fail(ErrorKind::kNotFound, "this change can no longer be taken back");
  const auto n = route.parts.memory.writer().take_back(*undo);
  if (!n) return std::unexpected(n.error());
  JsonWriter json = BeginAnswer();
  json.field("context", undo->context).name_field("topic", undo->topic).field("n", *n);
  return EndAnswer(json);
}

}  // namespace mrb::workstation
