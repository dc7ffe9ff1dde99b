#include "server/built_in_pages.h"

#include <string_view>

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

constexpr std::string_view kSignIn = R"(<!DOCTYPE html>
<html lang="en">
<head><meta charset="utf-8"><title>Mirebolt — sign in</title></head>
<body>
<h1>Sign in</h1>
<p>This Mirebolt serves the machine it runs on. From elsewhere it asks for a sign-in token.</p>
<form method="post" action="/__mrb_remote_auth" enctype="text/plain">
<label>Token <input name="token" type="password" autocomplete="off" required></label>
<button>Sign in</button>
</form>
</body>
</html>
)";

Response BuiltIn(std::string_view page) {
  Response response;
  response.type = kHtml;
  response.body = page;
  response.headers =
      "\r\nContent-Security-Policy: default-src 'self'\r\nX-Content-Type-Options: nosniff";
  return response;
}

}  // namespace

Response BuiltInIndexPage() {
  return BuiltIn(kIndex);
}

Response SignInPage() {
  return BuiltIn(kSignIn);
}

}  // namespace mrb::server
