#include "server/http/sign_in_page.h"

#include <string_view>

namespace mrb::server {
namespace {

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

}  // namespace

Response BuiltInPage(std::string_view page) {
  Response response;
  response.type = kHtml;
  response.body = page;
  response.headers =
      "\r\nContent-Security-Policy: default-src 'self'\r\nX-Content-Type-Options: nosniff";
  return response;
}

Response SignInPage() {
  return BuiltInPage(kSignIn);
}

}  // namespace mrb::server
