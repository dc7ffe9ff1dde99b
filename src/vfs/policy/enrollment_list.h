#pragma once

#include <string>
#include <vector>

#include "vfs/policy/line_file.h"
#include "vfs/policy/policy.h"

namespace mrb::vfs {

/// "versioncontroldirs.cfg": the directories that every start enrols again, one a line, as
/// "<dir> :: <policy>". Lines that are empty or begin with "#" are the user's own.
class EnrollmentList {
 public:
  struct Entry {
    std::string directory;
    PolicyChange policy;  ///< what the line says, for the caller's defaults
  };
  struct Contents {
    std::vector<Entry> entries;         ///< in the order of the file, each directory once
    std::vector<std::string> warnings;  ///< a sentence for each line that is not understood
  };

  EnrollmentList(platform::FileSystem& files, std::string path,
                 platform::PathStyle style = platform::SystemPathStyle())
      : file_(files, std::move(path)), style_(style) {}

  [[nodiscard]] const std::string& path() const { return file_.path(); }

  [[nodiscard]] Result<Contents> read() const;

  /// Adds the directory, or gives it another policy in its place.
  [[nodiscard]] Status put(const std::string& directory, const Policy& policy);

  /// Whether it was listed.
  [[nodiscard]] Result<bool> remove(const std::string& directory);

 private:
  LineFile file_;
  platform::PathStyle style_;
};

/// One line of the list; kInvalidArgument says what is wrong with it.
[[nodiscard]] Result<EnrollmentList::Entry> ParseEnrollment(std::string_view line);
[[nodiscard]] std::string FormatEnrollment(std::string_view directory, const Policy& policy);

}  // namespace mrb::vfs
