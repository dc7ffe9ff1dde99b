#include "workstation/params.h"

#include <algorithm>

#include "common/text.h"

namespace mrb::workstation {

Result<std::string> Params::needed(std::string_view name) const {
  std::string given = text(name);
  if (given.empty()) return Fail(ErrorKind::kInvalidArgument, std::string(name) + " required");
  return given;
}

Result<std::uint64_t> Params::number(std::string_view name, std::uint64_t otherwise,
                                     std::uint64_t most) const {
  const std::string given = text(name);
  if (given.empty()) return otherwise;
  const auto number = ParseDecimal(given);
  if (!number) return Fail(ErrorKind::kInvalidArgument, std::string(name) + " takes a number");
  return std::min(*number, most);
}

Result<Page> Params::page() const {
  const auto offset = number("offset", 0, UINT32_MAX);
  if (!offset) return std::unexpected(offset.error());
  const auto limit = number("limit", kDefaultRows, kMaxRows);
  if (!limit) return std::unexpected(limit.error());
  return Page{*offset, *limit};
}

}  // namespace mrb::workstation
