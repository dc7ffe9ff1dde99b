#pragma once

#include "server/routes/route.h"

namespace mrb::server {

/// The routes under "/term/": sessions and the saved hosts. 404 in a server without terminals.

[[nodiscard]] Response AnswerTermOpen(const Request& request, const Services& services);
[[nodiscard]] Response AnswerTermRead(const Request& request, const Services& services);
[[nodiscard]] Response AnswerTermSend(const Request& request, const Services& services);
[[nodiscard]] Response AnswerTermResize(const Request& request, const Services& services);
[[nodiscard]] Response AnswerTermExec(const Request& request, const Services& services);
[[nodiscard]] Response AnswerTermClose(const Request& request, const Services& services);
[[nodiscard]] Response AnswerTermList(const Request& request, const Services& services);
[[nodiscard]] Response AnswerTermName(const Request& request, const Services& services);
[[nodiscard]] Response AnswerTermShare(const Request& request, const Services& services);
[[nodiscard]] Response AnswerTermFocus(const Request& request, const Services& services);

[[nodiscard]] Response AnswerHostSave(const Request& request, const Services& services);
[[nodiscard]] Response AnswerHostList(const Request& request, const Services& services);
[[nodiscard]] Response AnswerHostRemove(const Request& request, const Services& services);

}  // namespace mrb::server
