#pragma once

#include <string>
#include <vector>

#include "chat/hub.h"

namespace mrb::server {

/// Arrays of the chat's answers, as JSON text.
[[nodiscard]] std::string RecordsJson(const std::vector<chat::Record>& records);
[[nodiscard]] std::string RosterJson(const std::vector<chat::Presence>& roster);

}  // namespace mrb::server
