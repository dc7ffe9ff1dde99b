#pragma once

#include "server/http/http_message.h"
#include "server/routes/route.h"

namespace mrb::server {

/// Pages from the executable's folder, read again for every request so that an edit shows at once.

[[nodiscard]] Response AnswerIndex(const Request& request, const Services& services);
[[nodiscard]] Response AnswerUi(const Request& request, const Services& services);
[[nodiscard]] Response AnswerBackground(const Request& request, const Services& services);
[[nodiscard]] Response AnswerScreensaver(const Request& request, const Services& services);
[[nodiscard]] Response AnswerGlyphwalkers(const Request& request, const Services& services);
[[nodiscard]] Response AnswerPanel(const Request& request, const Services& services);
[[nodiscard]] Response AnswerOrchestration(const Request& request, const Services& services);
[[nodiscard]] Response AnswerTaskSync(const Request& request, const Services& services);
[[nodiscard]] Response AnswerConfigure(const Request& request, const Services& services);

/// What "/" shows when no index.html lies beside the executable.
[[nodiscard]] Response BuiltInIndexPage();

}  // namespace mrb::server
