#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

#include "platform/files.h"

/// A file system that holds one readable file under any name, so that a loader can be fuzzed
/// without a disk. Everything but opening and reading is refused.
class OneFile : public mrb::platform::FileSystem {
 public:
  explicit OneFile(std::string_view bytes) : bytes_(bytes) {}

  mrb::Result<std::unique_ptr<mrb::platform::OpenFile>> open(const std::string&,
                                                             OpenMode mode) override {
    if (mode != OpenMode::kRead) return refused();
    return std::make_unique<Handle>(bytes_);
  }
  mrb::Result<mrb::platform::FileStatus> status(const std::string&) override { return refused(); }
  mrb::Result<std::vector<mrb::platform::DirectoryEntry>> list(const std::string&) override {
    return refused();
  }
  mrb::Status walk(const std::string&, mrb::platform::TreeVisitor&) override { return refused(); }
  mrb::Status make_directory(const std::string&) override { return refused(); }
  mrb::Status make_shared_directory(const std::string&) override { return refused(); }
  mrb::Status copy_permissions(const std::string&, const std::string&) override {
    return refused();
  }
  mrb::Status remove_file(const std::string&) override { return refused(); }
  mrb::Status rename_replace(const std::string&, const std::string&) override { return refused(); }
  mrb::Status rename_new(const std::string&, const std::string&) override { return refused(); }
  mrb::Status sync_directory(const std::string&) override { return refused(); }
  mrb::Status sync_volume(const std::string&) override { return refused(); }

 private:
  static std::unexpected<mrb::Error> refused() {
    return mrb::Fail(mrb::ErrorKind::kUnavailable, "one file only");
  }

  class Handle : public mrb::platform::OpenFile {
   public:
    explicit Handle(std::string_view bytes) : bytes_(bytes) {}
    mrb::Result<std::uint64_t> size() override { return bytes_.size(); }
    mrb::Result<std::size_t> read_at(std::uint64_t offset, char* out, std::size_t bytes) override {
      if (offset >= bytes_.size()) return std::size_t{0};
      const std::string_view part = bytes_.substr(offset, bytes);
      std::ranges::copy(part, out);
      return part.size();
    }
    mrb::Status append(std::string_view) override { return refused(); }
    mrb::Status truncate(std::uint64_t) override { return refused(); }
    mrb::Status sync() override { return refused(); }

   private:
    std::string_view bytes_;
  };

  std::string_view bytes_;
};
