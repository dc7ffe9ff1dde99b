#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "common/json_writer.h"
#include "server/http/http_message.h"
#include "workstation/params.h"
#include "workstation/undo_log.h"
#include "workstation/workstation_parts.h"

namespace mrb::workstation {

/// What the routes work with.
struct RouteContext {
  WorkstationParts parts;
  std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
  UndoLog undo = {};
};

/// An answer, or an error that becomes {"ok":false,...} under the status of its kind.
using Answer = Result<server::Response>;
using Handler = Answer (*)(RouteContext&, const Params&);

/// {"ok":true, open for more fields.
[[nodiscard]] JsonWriter BeginAnswer();
/// Closes it.
[[nodiscard]] server::Response EndAnswer(JsonWriter& json);

/// The store that the parameter "store" names.
[[nodiscard]] Result<std::shared_ptr<vfs::VersionStore>> StoreOf(RouteContext& route,
                                                                 const Params& params);

/// That store alone, or without the parameter all that have versions and are listed.
[[nodiscard]] Result<std::vector<std::shared_ptr<vfs::VersionStore>>> StoresOf(
    RouteContext& route, const Params& params);

/// A file of a store, held as long as this lives.
struct HeldFile {
  std::shared_ptr<vfs::VersionStore> store;
  vfs::VersionStore::Lock lock;
  File* file = nullptr;
};
/// The file that "store" and "path" name; kNotFound when it never had a version.
[[nodiscard]] Result<HeldFile> FileOf(RouteContext& route, const Params& params);

// The routes, by file.
[[nodiscard]] Answer AnswerStatus(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerEvents(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerStores(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerFolder(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerTimeline(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerVersions(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerBytes(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerDiff(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerFileNames(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerFileQuery(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerGrep(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerRestore(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerRevert(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerContexts(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerTopics(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerMemos(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerMemo(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerRecent(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerMemorySearch(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerAddMemo(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerUpdateMemo(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerDeleteMemo(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerUndo(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerDownload(RouteContext& route, const Params& params);
[[nodiscard]] Answer AnswerExport(RouteContext& route, const Params& params);

}  // namespace mrb::workstation
