#pragma once

#include <string>
#include <string_view>

#include "common/caller_folder.h"
#include "server/http/http_message.h"

namespace mrb::server {

/// The headers by which this machine's clients tell a resident where they are and what they expect
/// of it, written by the client and read by the resident.

/// X-Mrb-Cwd with the folder as it is, where such a header may hold it, and X-Mrb-Folder with any
/// folder, percent-encoded; "-" for one that is not known. Whole lines with their line ends.
[[nodiscard]] std::string FolderHeaders(const CallerFolder& folder);

/// X-Mrb-Home, the data home that the client was told to use; empty for a client that takes any.
[[nodiscard]] std::string HomeHeader(std::string_view data_home);

/// Where the sender is. X-Mrb-Folder decides where it is there; a folder that is not absolute, or
/// that no system could have, is a lost one.
[[nodiscard]] CallerFolder ReadCallerFolder(const Request& request);

/// The data home that the sender expects; empty when it takes any.
[[nodiscard]] std::string ReadExpectedHome(const Request& request);

}  // namespace mrb::server
