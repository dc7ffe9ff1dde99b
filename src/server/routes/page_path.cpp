#include "server/routes/page_path.h"

#include <algorithm>
#include <array>
#include <utility>

#include "common/text.h"
#include "common/url.h"
#include "platform/paths.h"

namespace mrb::server {

namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

constexpr std::size_t kMaxName = 255;  // what file systems hold in one name

bool IsDeviceName(std::string_view name) {
  static constexpr std::array<std::string_view, 6> kDevices{"con", "prn",    "aux",
                                                            "nul", "conin$", "conout$"};
  // "con .txt" is the console as well.
  std::string_view base = Trim(name.substr(0, name.find('.')));
  if (std::ranges::any_of(kDevices, [&](auto device) { return EqualsIgnoreCase(base, device); })) {
    return true;
  }
  const std::string_view kind = base.substr(0, 3);
  if (!EqualsIgnoreCase(kind, "com") && !EqualsIgnoreCase(kind, "lpt")) return false;
  const std::string_view number = base.substr(3);
  return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') || number == "\u00b9" ||
         number == "\u00b2" || number == "\u00b3";
}

bool IsForbidden(char c) {
  return IsControl(c) || c == '/' || c == '\\' || c == ':';
}

}  // namespace

std::optional<std::string> UiFile(std::string_view path) {
  static constexpr std::string_view kPrefix = "/ui/";
  if (path == "/ui" || path == kPrefix) return "shell.html";
  if (!path.starts_with(kPrefix)) return std::nullopt;
  std::string file = DecodePercent(path.substr(kPrefix.size()));
  if (file.contains("..") || !std::ranges::all_of(Split(file, '/'), IsPlainName)) {
    return std::nullopt;
  }
  return file;
}

std::optional<std::string> BackgroundFile(std::string_view path) {
  static constexpr std::string_view kPrefix = "/backgrounds/";
  if (!path.starts_with(kPrefix)) return std::nullopt;
  const std::string_view name = path.substr(kPrefix.size());
  static constexpr std::string_view kStem = "background-";
  static constexpr std::size_t kLength = 19;  // the stem, three digits, ".html"
  const bool page = name.size() == kLength && name.starts_with(kStem) && name.ends_with(".html") &&
                    std::ranges::all_of(name.substr(kStem.size(), 3), IsDigit);
  if (!page && name != "backgrounds.json") return std::nullopt;
  return std::string(name);
}

std::optional<std::string> ScreensaverFile(std::string_view path) {
  static constexpr std::size_t kMin = 19;
  static constexpr std::size_t kMaxLength = 63;
  if (path.size() < kMin || path.size() > kMaxLength) return std::nullopt;
  if (!path.starts_with("/screensaver-") || !path.ends_with(".html")) return std::nullopt;
  const std::string_view name = path.substr(1);
  if (name.contains("..") || !IsPlainName(name)) return std::nullopt;
  return std::string(name);
}

std::string_view ContentTypeOf(std::string_view file) {
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 4> kTypes{{
      {".html", kHtml},
      {".js", kScript},
      {".css", kCss},
      {".json", kJson},
  }};
  const auto dot = file.rfind('.');
  if (dot == std::string_view::npos) return kPlainUtf8;
  for (const auto& [extension, type] : kTypes) {
    if (EqualsIgnoreCase(file.substr(dot), extension)) return type;
  }
  return kPlainUtf8;
}

std::optional<std::string> ReadPage(platform::FileSystem& files, const std::string& path) {
  const auto file = files.open(path, platform::FileSystem::OpenMode::kRead);
  if (!file) return std::nullopt;
  const auto size = (*file)->size();
  if (!size || *size > kMaxPage) return std::nullopt;
  std::string text(static_cast<std::size_t>(*size), '\0');
  const auto read = (*file)->read_at(0, text.data(), text.size());
  if (!read) return std::nullopt;
  text.resize(*read);
  return text;
}

std::optional<std::string> ReadInside(platform::FileSystem& files, const std::string& folder,
                                      std::string_view file) {
  using Type = platform::FileStatus::Type;
  std::string path = folder;
  const auto parts = Split(file, '/');
  for (std::size_t i = 0; i < parts.size(); ++i) {
    path = platform::JoinPath(path, parts[i]);
    const auto status = files.status(path);
    const Type wanted = i + 1 == parts.size() ? Type::kFile : Type::kDirectory;
    if (!status || status->type != wanted) return std::nullopt;
  }
  return ReadPage(files, path);
}

bool IsPlainName(std::string_view name) {
  if (name.empty() || name.size() > kMaxName) return false;
  if (name.back() == '.' || name.back() == ' ') return false;  // "." and ".." among them
  return std::ranges::none_of(name, IsForbidden) && IsUtf8(name) && !IsDeviceName(name);
}

}  // namespace mrb::server
