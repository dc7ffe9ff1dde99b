#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "server/routes/page_path.h"
#include "server/routes/route_table.h"
#include "temp_folder.h"

namespace mrb::server {
namespace {

namespace fs = std::filesystem;

TEST(PagePathTest, KeepsUiPathsInside) {
  const auto file = [](std::string_view path) { return UiFile(path).value_or("refused"); };
  EXPECT_EQ(file("/ui"), "shell.html");
  EXPECT_EQ(file("/ui/"), "shell.html");
  EXPECT_EQ(file("/ui/js/app%20one.js"), "js/app one.js");
  EXPECT_EQ(file("/ui/a+b%2Bc.css"), "a+b+c.css");
  for (const char* bad : {"/ui/../x",
                          "/ui/%2e%2E/x",
                          "/ui/a/%2e%2e%2fx",
                          "/ui/a..b",
                          "/ui/..%5cx",
                          "/ui/a%5Cb",
                          "/ui/a\\b",
                          "/ui//etc/passwd",
                          "/ui/%2fetc/passwd",
                          "/ui/C:/x",
                          "/ui/c%3ax",
                          "/ui/a//b",
                          "/ui/a/",
                          "/ui/./a",
                          "/ui/a%00.html",
                          "/ui/a%0a",
                          "/ui/con",
                          "/ui/js/NUL.js",
                          "/ui/a.",
                          "/ui/a%20",
                          "/ui/x::$DATA",
                          "/ui/%ff",
                          "/uix"}) {
    EXPECT_EQ(file(bad), "refused") << bad;
  }
}

TEST(PagePathTest, KnowsBackgroundsAndScreensavers) {
  EXPECT_TRUE(BackgroundFile("/backgrounds/background-042.html"));
  EXPECT_TRUE(BackgroundFile("/backgrounds/backgrounds.json"));
  for (const char* bad : {"background-42.html", "background-0042.html", "background-04a.html",
                          "background-042.htm", "foreground-042.html", "../x", ""}) {
    EXPECT_FALSE(BackgroundFile(std::string("/backgrounds/") + bad)) << bad;
  }
  const auto saver = [](std::size_t length) {
    return "/screensaver-" + std::string(length - 18, 'x') + ".html";
  };
  EXPECT_EQ(ScreensaverFile("/screensaver-a.html"), "screensaver-a.html");
  EXPECT_TRUE(ScreensaverFile(saver(63)));
  EXPECT_FALSE(ScreensaverFile(saver(64)));
  for (const char* bad : {"/screensaver-.html", "/screensaver-a/b.html", "/screensaver-a\\b.html",
                          "/screensaver-...html", "/screensaver-a.html2"}) {
    EXPECT_FALSE(ScreensaverFile(bad)) << bad;
  }
}

TEST(PlainNameTest, RefusesDevicesInAnyForm) {
  for (const char* good : {"cli", "a b", "console", "com", "com10", "lpt", "\u00e9t\u00e9", ".x"}) {
    EXPECT_TRUE(IsPlainName(good)) << good;
  }
  for (const char* bad : {"CON", "con.txt", "Aux .x", "COM1", "lpt\u00b9", "conin$", "..", "a/b"}) {
    EXPECT_FALSE(IsPlainName(bad)) << bad;
  }
  EXPECT_FALSE(IsPlainName(std::string(256, 'a')));
}

class PagesTest : public testing::Test {
 protected:
  PagesTest() {
    options_.executable_folder = folder_.path("bin");
    fs::create_directory(options_.executable_folder);
  }

  void write(const std::string& name, const std::string& text) {
    const fs::path path = fs::path(folder_.path()) / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
  }

  Response get(const std::string& path) {
    const std::string head = "GET " + path + " HTTP/1.1\r\n\r\n";
    Request request;
    request.head = head;
    request.line = ParseRequestLine(head);
    return AnswerRequest(request, {options_, platform::SystemFiles(), cached_});
  }

  test::TempFolder folder_;
  ServerOptions options_;
  PageCache cached_;
};

TEST_F(PagesTest, TakesTheFirstPlaceThatIsNotEmpty) {
  EXPECT_NE(get("/").body.find("<title>Mirebolt chat</title>"), std::string::npos);
  EXPECT_NE(get("/").headers.find("Content-Security-Policy: default-src 'self'"),
            std::string::npos);
  cached_ = {"cached index", "cached panel"};
  EXPECT_EQ(get("/").body, "cached index");
  EXPECT_EQ(get("/panel").body, "cached panel");
  write("bin/web/index.html", "web");
  write("bin/src/index.html", "");
  EXPECT_EQ(get("/").body, "web");
  write("bin/index.html", "beside");
  EXPECT_EQ(get("/index.html").body, "beside");
  EXPECT_EQ(get("/index.html").type, "text/html; charset=utf-8");
  write("bin/src/orchestration_tabs.html", "tabs");
  EXPECT_EQ(get("/orch").body, "tabs");
  EXPECT_EQ(LoadPageCache(platform::SystemFiles(), folder_.path("bin")).index, "beside");
}

TEST_F(PagesTest, ServesFilesOfTheUi) {
  write("web/ui/shell.html", "outer");
  EXPECT_EQ(get("/ui").body, "outer");
  write("bin/web/ui/shell.html", "inner");
  write("bin/web/ui/js/a.js", "script");
  write("bin/web/ui/data.JSON", "{}");
  write("bin/web/secret.txt", "secret");
  write("web/screensaver-v71.html", "walk");
  EXPECT_EQ(get("/ui/").body, "inner");
  EXPECT_EQ(get("/ui/js/a.js").type, "application/javascript; charset=utf-8");
  EXPECT_EQ(get("/ui/data.JSON").type, "application/json");
  EXPECT_EQ(get("/g-walk").body, "walk");
  EXPECT_EQ(get("/screensaver-v71.html").body, "walk");
  for (const char* missing : {"/ui/none", "/ui/js", "/ui/../secret.txt", "/ui/%2e%2e/secret.txt"}) {
    EXPECT_EQ(get(missing).status, "404 Not Found") << missing;
    EXPECT_EQ(get(missing).body, "no such ui file") << missing;
  }
}

TEST_F(PagesTest, FollowsNoLinkOutOfTheUi) {
  write("bin/web/secret.txt", "secret");
  fs::create_directories(fs::path(folder_.path("bin")) / "web" / "ui");
  std::error_code no_links;  // a user without that right, or Wine
  fs::create_symlink("../secret.txt", fs::path(folder_.path("bin")) / "web/ui/file.txt", no_links);
  fs::create_directory_symlink("..", fs::path(folder_.path("bin")) / "web/ui/up", no_links);
  EXPECT_EQ(get("/ui/file.txt").status, "404 Not Found");
  EXPECT_EQ(get("/ui/up/secret.txt").status, "404 Not Found");
}

TEST_F(PagesTest, SaysWhereItLooked) {
  EXPECT_EQ(get("/panel").body,
            "mirebolt_panel.html not found (looked beside the exe and in web\\)");
  EXPECT_EQ(get("/tasksync").body,
            "tasksync_monitor.html not found (looked in src\\, beside the exe, and web\\)");
  EXPECT_EQ(get("/onboard").body, get("/configure").body);
  EXPECT_EQ(get("/glyphwalkers").body, "glyphwalker background not found");
  EXPECT_EQ(get("/backgrounds/background-001.html").body, "no such background");
  EXPECT_EQ(get("/screensaver-x").body, "no such screensaver");
}

}  // namespace
}  // namespace mrb::server
