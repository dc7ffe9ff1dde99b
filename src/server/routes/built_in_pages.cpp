#include "server/routes/built_in_pages.h"

#include <string_view>

#include "server/http/sign_in_page.h"

namespace mrb::server {
namespace {

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

Response BuiltInIndexPage() {
  return BuiltInPage(kIndex);
}

}  // namespace mrb::server
