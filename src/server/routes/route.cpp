#include "server/routes/route.h"

namespace mrb::server {

Response AnswerNotFound(const Request& /*request*/, const Services& /*services*/) {
  Response response;
  response.status = kNotFound;
  response.type = kPlain;
  response.body = "not found";
  return response;
}

}  // namespace mrb::server
