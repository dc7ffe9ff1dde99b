#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "common/json_scan.h"
#include "common/text.h"
#include "common/url.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "temp_folder.h"
#include "workstation/workstation.h"

namespace mrb::workstation::test {

/// A resident without its sockets: the subsystems over a temporary folder, and the pages' routes.
class WorkstationTest : public testing::Test {
 protected:
  /// What a route answered, checked to be JSON.
  struct Reply {
    std::string status;
    std::string body;
    std::shared_ptr<JsonDocument> json;

    [[nodiscard]] JsonValue root() const { return json->root(); }
    [[nodiscard]] std::string text(std::string_view key) const { return root().find(key).text(); }
    [[nodiscard]] std::int64_t number(std::string_view key) const {
      return root().find(key).integer().value_or(-1);
    }
    [[nodiscard]] std::vector<JsonValue> list(std::string_view key) const {
      return root().find(key).elements();
    }
  };

  WorkstationTest() {
    std::filesystem::create_directories(tree());
    vfs::VfsOptions options;
    options.files = &platform::SystemFiles();
    options.data_home = folder_.path("home");
    options.outside_author = [] { return std::string("outside"); };
    options.changed = [this](const auto& store, const auto& change) {
      activity_.file_changed(store, change);
    };
    files_ = std::make_unique<vfs::VfsService>(options);
    memory_ = std::make_unique<memory::MemoryService>(memory::MemoryOptions{
        .contexts_folder = folder_.path("contexts"),
        .files = &platform::SystemFiles(),
        .now = [this] { return now_; },
        .embedder =
            [](const std::string&, std::string_view) {
              return Result<std::vector<float>>(Fail(ErrorKind::kUnavailable, "none"));
            },
        .changed = [this](const auto& change) { activity_.memory_changed(change); }});
    terminals_ = std::make_unique<server::Terminals>(
        server::TerminalOptions{.files = &platform::SystemFiles(),
                                .saved_hosts = folder_.path("hosts"),
                                .log = {},
                                .post = {},
                                .focus = {},
                                .changed = {}});
    workstation_ = std::make_unique<Workstation>(WorkstationParts{.files = *files_,
                                                                  .memory = *memory_,
                                                                  .terminals = *terminals_,
                                                                  .activity = activity_,
                                                                  .author = [] { return "ann"; },
                                                                  .port = 9});
  }

  [[nodiscard]] std::string tree() const { return folder_.path("tree"); }

  std::string run(const std::string& name_space, const std::string& verb,
                  const std::string& arguments) {
    return files_->execute({"bob", CallerFolder::known(tree())}, name_space, verb, arguments);
  }
  void put(const std::string& path, const std::string& text) {
    run("fsmk", "file", "<path>" + path + "</path><content>" + text + "</content>");
  }
  std::string remember(const std::string& line) {
    const std::size_t blank = line.find(' ');
    return memory_->execute("bob", line.substr(0, blank), line.substr(blank + 1));
  }

  server::Response raw(const std::string& line, const std::string& body = "") {
    const std::string head = line + " HTTP/1.1\r\n\r\n";
    server::Request request;
    request.head = head;
    request.line = server::ParseRequestLine(head);
    request.body = body;
    return workstation_->answer(request);
  }
  Reply reply(const server::Response& response) {
    const std::string& body = *bodies_.emplace_back(std::make_shared<std::string>(response.body));
    auto json = JsonDocument::scan(body);
    EXPECT_TRUE(json) << body;
    EXPECT_EQ(json->root().find("ok").boolean(), response.status == server::kOk) << body;
    const auto& kept = documents_.emplace_back(std::make_shared<JsonDocument>(*std::move(json)));
    return {std::string(response.status), body, kept};
  }
  Reply get(const std::string& what) { return reply(raw("GET /ui/api/" + what)); }
  Reply post(const std::string& what, const std::string& form) {
    return reply(raw("POST /ui/api/" + what, form));
  }

  mrb::test::TempFolder folder_;
  std::uint64_t now_ = 1'700'000'000;
  Activity activity_{1'700'000'000};
  std::unique_ptr<vfs::VfsService> files_;
  std::unique_ptr<memory::MemoryService> memory_;
  std::unique_ptr<server::Terminals> terminals_;
  std::unique_ptr<Workstation> workstation_;

 private:
  // Values refer to these for as long as the test runs.
  std::vector<std::shared_ptr<std::string>> bodies_;
  std::vector<std::shared_ptr<JsonDocument>> documents_;
};

}  // namespace mrb::workstation::test
