#include "server/routes/chat_json.h"

#include "common/json_text.h"

namespace mrb::server {

std::string RecordsJson(const std::vector<chat::Record>& records) {
  std::string json = "[";
  for (const chat::Record& record : records) {
    if (json.size() > 1) json += ',';
    json += chat::RecordJson(record);
  }
  return json + "]";
}

std::string RosterJson(const std::vector<chat::Presence>& roster) {
  std::string json = "[";
  for (const chat::Presence& one : roster) {
    if (json.size() > 1) json += ',';
    json += R"({"callsign":)" + JsonString(one.callsign) + R"(,"channel":)" +
            JsonString(one.channel) + (one.live ? R"(,"live":true})" : R"(,"live":false})");
  }
  return json + "]";
}

}  // namespace mrb::server
