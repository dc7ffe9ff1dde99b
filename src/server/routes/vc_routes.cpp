#include "server/routes/vc_routes.h"

#include "common/answer.h"
#include "common/json_writer.h"
#include "server/http/interpreter_bridge.h"

namespace mrb::server {
namespace {

Response ViewOf(const std::function<std::string()>& view) {
  Response response;
  response.body = view();
  return response;
}

/// A verb of versioned files about one directory.
Response RunAbout(std::string_view verb, const Request& request, const Services& services) {
  if (services.options.bridge == nullptr) return JsonFailure(kUnavailable, "no interpreter");
  const std::string directory = request.param("dir");
  if (directory.empty()) return JsonFailure(kBadRequest, "dir required");
  if (directory.find("</path>") != std::string::npos) return JsonFailure(kBadRequest, "bad dir");
  std::string bot = request.param("bot");
  if (bot.empty()) bot = "ui";
  const std::string command =
      std::string(verb) + " <path>" + directory + "</path> " + request.param("flags");
  std::string answer;
  services.options.bridge->execute(bot, command, answer);
  if (IsErrorAnswer(answer)) {
    constexpr std::string_view kMark = "ERROR: ";
    return JsonFailure(kBadRequest, std::string_view(answer).substr(kMark.size()));
  }
  Response response;
  response.body =
      JsonWriter().begin_object().field("ok", true).field("out", answer).end_object().take();
  return response;
}

}  // namespace

Response AnswerVcDirs(const Request&, const Services& services) {
  return ViewOf(services.options.enrolled_directories);
}

Response AnswerVcList(const Request&, const Services& services) {
  return ViewOf(services.options.versioned_stores);
}

Response AnswerVcAdd(const Request& request, const Services& services) {
  return RunAbout("fsvctl:enroll", request, services);
}

Response AnswerVcUnenroll(const Request& request, const Services& services) {
  return RunAbout("fsvctl:unenroll", request, services);
}

}  // namespace mrb::server
