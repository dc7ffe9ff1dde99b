#include "server/routes/static_pages.h"

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "platform/paths.h"
#include "server/http/sign_in_page.h"
#include "server/routes/page_path.h"

namespace mrb::server {

namespace {

Response Page(std::string_view type, std::string text) {
  Response response;
  response.type = type;
  response.body = std::move(text);
  return response;
}

Response Missing(std::string text) {
  Response response = Page(kPlain, std::move(text));
  response.status = kNotFound;
  return response;
}

std::string InFolder(const Services& services, std::string_view path) {
  return platform::JoinPath(services.options.executable_folder, platform::NativePath(path));
}

/// The file from the first of the folders, which are relative to the executable's, that holds it.
std::optional<std::string> FromFolders(const Services& services, std::string_view file,
                                       std::initializer_list<std::string_view> folders) {
  for (const std::string_view folder : folders) {
    if (auto page = ReadInside(services.files, InFolder(services, folder), file)) return page;
  }
  return std::nullopt;
}

/// What a page below /ui may load: its own scripts, no inline ones, and nothing from elsewhere.
/// Styles may be inline because the terminal emulator writes its colours and cell sizes into a
/// style element of its own; data: is for the icon in the tab.
constexpr std::string_view kUiPolicy =
    "\r\nContent-Security-Policy: default-src 'self'; style-src 'self' 'unsafe-inline'; "
    "img-src 'self' data:; object-src 'none'; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'\r\nX-Content-Type-Options: nosniff";

/// One of the pages that lie in src, beside the executable or in web.
Response TopPage(const Services& services, const std::string& name) {
  std::string page = ReadFirstPage(services.files, services.options.executable_folder, name);
  if (!page.empty()) return Page(kHtml, std::move(page));
  return Missing(name + R"( not found (looked in src\, beside the exe, and web\))");
}

constexpr std::string_view kIndex = R"(<!DOCTYPE html>
<html lang="en">
<head><meta charset="utf-8"><title>Mirebolt chat</title></head>
<body>
<h1>Mirebolt chat</h1>
<p>The chat server is up. No index.html was found beside the executable or in web\, so this page
stands in for it.</p>
<p>The WebSocket endpoint of this port takes one text frame of three lines, <code>join</code>, your
callsign and the channel, and then frames of two lines, <code>msg</code> and the text.</p>
</body>
</html>
)";

}  // namespace

Response AnswerIndex(const Request& /*request*/, const Services& services) {
  std::string page =
      ReadFirstPage(services.files, services.options.executable_folder, "index.html");
  if (page.empty()) page = services.page_cache.index;
  return page.empty() ? BuiltInIndexPage() : Page(kHtml, std::move(page));
}

Response AnswerUi(const Request& request, const Services& services) {
  const auto file = UiFile(request.line.path);
  if (!file) return Missing("no such ui file");
  auto page = FromFolders(services, *file, {"web/ui", "../web/ui"});
  if (!page) return Missing("no such ui file");
  Response response = Page(ContentTypeOf(*file), std::move(*page));
  response.headers = kUiPolicy;
  return response;
}

Response AnswerBackground(const Request& request, const Services& services) {
  const auto file = BackgroundFile(request.line.path);
  if (!file) return Missing("no such background");
  auto page = FromFolders(services, *file, {"web/backgrounds"});
  return page ? Page(ContentTypeOf(*file), std::move(*page)) : Missing("no such background");
}

Response AnswerScreensaver(const Request& request, const Services& services) {
  const auto file = ScreensaverFile(request.line.path);
  if (!file) return Missing("no such screensaver");
  auto page = FromFolders(services, *file, {"web", "../web"});
  return page ? Page(kHtml, std::move(*page)) : Missing("no such screensaver");
}

Response AnswerGlyphwalkers(const Request& /*request*/, const Services& services) {
  auto page = FromFolders(services, "screensaver-v71.html", {"web", "../web", "src/web"});
  return page ? Page(kHtml, std::move(*page)) : Missing("glyphwalker background not found");
}

Response AnswerPanel(const Request& /*request*/, const Services& services) {
  std::string page =
      ReadFirstPage(services.files, services.options.executable_folder, "mirebolt_panel.html");
  if (page.empty()) page = services.page_cache.panel;
  if (!page.empty()) return Page(kHtml, std::move(page));
  return Missing(R"(mirebolt_panel.html not found (looked beside the exe and in web\))");
}

Response AnswerOrchestration(const Request& /*request*/, const Services& services) {
  return TopPage(services, "orchestration_tabs.html");
}

Response AnswerTaskSync(const Request& /*request*/, const Services& services) {
  return TopPage(services, "tasksync_monitor.html");
}

Response AnswerConfigure(const Request& /*request*/, const Services& services) {
  return TopPage(services, "config_collector.html");
}

Response BuiltInIndexPage() {
  return BuiltInPage(kIndex);
}

}  // namespace mrb::server
