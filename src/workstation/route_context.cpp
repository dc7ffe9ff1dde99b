#include "workstation/route_context.h"

namespace mrb::workstation {

JsonWriter BeginAnswer() {
  JsonWriter json;
  json.begin_object().field("ok", true);
  return json;
}

server::Response EndAnswer(JsonWriter& json) {
  server::Response response;
  response.body = json.end_object().take();
  return response;
}

}  // namespace mrb::workstation
