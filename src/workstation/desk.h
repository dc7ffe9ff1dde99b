#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "server/http/http_message.h"
#include "workstation/json_writer.h"
#include "workstation/params.h"
#include "workstation/undo_shelf.h"
#include "workstation/workstation_parts.h"

namespace mrb::workstation {

/// What the routes work with.
struct Desk {
  WorkstationParts parts;
  std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
  UndoShelf undo = {};
};

/// An answer, or an error that becomes {"ok":false,...} under the status of its kind.
using Answer = Result<server::Response>;
using Handler = Answer (*)(Desk&, const Params&);

/// {"ok":true, open for more fields.
[[nodiscard]] JsonWriter BeginAnswer();
/// Closes it.
[[nodiscard]] server::Response EndAnswer(JsonWriter& json);

/// The store that the parameter "store" names.
[[nodiscard]] Result<std::shared_ptr<vfs::VersionStore>> StoreOf(Desk& desk, const Params& params);

/// That store alone, or without the parameter all that have versions and are listed.
[[nodiscard]] Result<std::vector<std::shared_ptr<vfs::VersionStore>>> StoresOf(
    Desk& desk, const Params& params);

/// A file of a store, held as long as this lives.
struct HeldFile {
  std::shared_ptr<vfs::VersionStore> store;
  vfs::VersionStore::Lock lock;
  File* file = nullptr;
};
/// The file that "store" and "path" name; kNotFound when it never had a version.
[[nodiscard]] Result<HeldFile> FileOf(Desk& desk, const Params& params);

// The routes, by file.
[[nodiscard]] Answer AnswerStatus(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerEvents(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerStores(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerFolder(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerTimeline(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerVersions(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerBytes(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerDiff(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerFileNames(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerFileQuery(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerGrep(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerRestore(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerRevert(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerContexts(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerTopics(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerMemos(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerMemo(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerRecent(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerMemorySearch(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerAddMemo(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerUpdateMemo(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerDeleteMemo(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerUndo(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerDownload(Desk& desk, const Params& params);
[[nodiscard]] Answer AnswerExport(Desk& desk, const Params& params);

}  // namespace mrb::workstation
