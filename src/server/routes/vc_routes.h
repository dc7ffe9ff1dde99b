#pragma once

#include "server/routes/route.h"

namespace mrb::server {

/// GET /vc/dirs: the enrolment list; GET /vc/list: the stores that are loaded.
[[nodiscard]] Response AnswerVcDirs(const Request& request, const Services& services);
[[nodiscard]] Response AnswerVcList(const Request& request, const Services& services);

/// /vc/add?dir=<path>&flags=<policy flags> and /vc/unenroll?dir=<path>: the verb's answer as
/// {"ok":true,"out":...}, or its error. The bot parameter says who acts, "ui" when it is missing.
[[nodiscard]] Response AnswerVcAdd(const Request& request, const Services& services);
[[nodiscard]] Response AnswerVcUnenroll(const Request& request, const Services& services);

}  // namespace mrb::server
