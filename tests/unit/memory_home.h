#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "memory/verbs/memory_service.h"
#include "platform/files.h"
#include "temp_folder.h"

namespace mrb::test {

/// A folder of contexts and a memory service over it, with a clock that the test sets.
class MemoryHome {
 public:
  explicit MemoryHome(platform::FileSystem& files = platform::SystemFiles()) : files_(files) {
    reopen();
  }

  using Options = memory::MemoryOptions;

  /// A new service over the same disk: what a restarted process would see.
  void reopen() {
    service_.reset();  // gives the contexts' locks back first
    options_.contexts_folder = folder_.path("contexts");
    options_.files = &files_;
    options_.now = [this] { return now; };
    if (!options_.embedder) {  // no test asks the machine's own
      options_.embedder = [](const std::string&, std::string_view) {
        return Result<std::vector<float>>(Fail(ErrorKind::kUnavailable, "no embedder"));
      };
    }
    service_ = std::make_unique<memory::MemoryService>(options_);
  }

  /// A new service with other surroundings; the folder, the disk and the clock stay.
  void set(Options options) {
    options_ = std::move(options);
    reopen();
  }

  void close() { service_.reset(); }

  /// "verb rest of the line".
  std::string run(std::string_view line) {
    const std::size_t blank = line.find(' ');
    return service_->execute("cli", line.substr(0, blank),
                             blank == std::string_view::npos ? "" : line.substr(blank + 1));
  }

  [[nodiscard]] std::string path(const std::string& context, const std::string& file = "") const {
    const std::string folder = folder_.path("contexts") + "/" + context;
    return file.empty() ? folder : folder + "/" + file;
  }

  [[nodiscard]] std::string read(const std::string& context, const std::string& file) const {
    return platform::ReadFile(platform::SystemFiles(), path(context, file)).value_or("(no file)");
  }

  void write(const std::string& context, const std::string& file, std::string_view bytes) {
    ASSERT_TRUE(platform::MakeDirectories(platform::SystemFiles(), path(context)));
    ASSERT_TRUE(platform::ReplaceFile(platform::SystemFiles(), path(context, file), bytes));
  }

  [[nodiscard]] bool exists(const std::string& context, const std::string& file = "") const {
    return platform::Exists(platform::SystemFiles(), path(context, file));
  }

  std::uint64_t now = 1'700'000'000;  // 2023-11-14 22:13 UTC

 private:
  TempFolder folder_;
  platform::FileSystem& files_;
  Options options_;
  std::unique_ptr<memory::MemoryService> service_;
};

}  // namespace mrb::test
