#pragma once

#include <string>
#include <vector>

#include "chat/hub.h"
#include "server/routes/route.h"

namespace mrb::server {

/// The chat for those who ask instead of holding a WebSocket. 404 in a server without a hub.

[[nodiscard]] Response AnswerChatSay(const Request& request, const Services& services);
[[nodiscard]] Response AnswerChatNext(const Request& request, const Services& services);
[[nodiscard]] Response AnswerRoster(const Request& request, const Services& services);
[[nodiscard]] Response AnswerChannels(const Request& request, const Services& services);
[[nodiscard]] Response AnswerChatLog(const Request& request, const Services& services);
[[nodiscard]] Response AnswerDmSay(const Request& request, const Services& services);
[[nodiscard]] Response AnswerDmThread(const Request& request, const Services& services);

/// Arrays of the chat's answers, as JSON text.
[[nodiscard]] std::string RecordsJson(const std::vector<chat::Record>& records);
[[nodiscard]] std::string RosterJson(const std::vector<chat::Presence>& roster);

}  // namespace mrb::server
