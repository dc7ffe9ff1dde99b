#include "vfs/policy/enrollment_list.h"

#include <algorithm>
#include <optional>

#include "common/text.h"

namespace mrb::vfs {
namespace {

constexpr std::string_view kSeparator = " :: ";

bool IsRemark(std::string_view line) {
  return Trim(line).empty() || line.starts_with('#');
}

/// The directory of a line, whatever its policy; no policy holds the separator, a path may.
std::optional<std::string> DirectoryOf(std::string_view line) {
  const std::size_t end = line.rfind(kSeparator);
  if (IsRemark(line) || end == std::string_view::npos || end == 0) return std::nullopt;
  if (line.find('\0') != std::string_view::npos) return std::nullopt;
  return PathFromLine(line.substr(0, end));
}

}  // namespace

Result<EnrollmentList::Entry> ParseEnrollment(std::string_view line) {
  auto directory = DirectoryOf(line);
  if (!directory) return Fail(ErrorKind::kInvalidArgument, "is not '<dir> :: <policy>'");
  auto policy = ParsePolicy(TrimLineEnd(line.substr(line.rfind(kSeparator) + kSeparator.size())));
  if (!policy) return std::unexpected(policy.error());
  return EnrollmentList::Entry{std::move(*directory), std::move(*policy)};
}

std::string FormatEnrollment(std::string_view directory, const Policy& policy) {
  return PathToLine(directory).append(kSeparator).append(FormatPolicy(policy));
}

Result<EnrollmentList::Contents> EnrollmentList::read() const {
  const auto lines = file_.read();
  if (!lines) return std::unexpected(lines.error());
  Contents contents;
  for (std::size_t i = 0; i < lines->size(); ++i) {
    const std::string& line = (*lines)[i];
    if (IsRemark(line)) continue;
    const std::string place = path() + " line " + std::to_string(i + 1) + ": ";
    auto entry = ParseEnrollment(line);
    if (!entry) {
      contents.warnings.push_back(place + entry.error().text);
      continue;
    }
    const bool known = std::ranges::any_of(contents.entries, [&](const Entry& other) {
      return SamePath(other.directory, entry->directory, style_);
    });
    if (known) {
      contents.warnings.push_back(place + "lists " + entry->directory + " again");
    } else {
      contents.entries.push_back(std::move(*entry));
    }
  }
  return contents;
}

Status EnrollmentList::put(const std::string& directory, const Policy& policy) {
  const std::string wanted = FormatEnrollment(directory, policy);
  const auto changed = file_.edit([&](std::vector<std::string>& lines) {
    const auto names_it = [&](const std::string& line) {
      const auto other = DirectoryOf(line);
      return other && SamePath(*other, directory, style_);
    };
    const auto first = std::ranges::find_if(lines, names_it);
    if (first == lines.end()) {
      lines.push_back(wanted);
      return true;
    }
    const auto doubles = std::remove_if(first + 1, lines.end(), names_it);
    const bool differs = *first != wanted || doubles != lines.end();
    *first = wanted;
    lines.erase(doubles, lines.end());
    return differs;
  });
  return changed ? Status() : std::unexpected(changed.error());
}

Result<bool> EnrollmentList::remove(const std::string& directory) {
  return file_.edit([&](std::vector<std::string>& lines) {
    return std::erase_if(lines, [&](const std::string& line) {
             const auto other = DirectoryOf(line);
             return other && SamePath(*other, directory, style_);
           }) != 0;
  });
}

}  // namespace mrb::vfs
