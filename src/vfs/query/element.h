#pragma once

#include <string_view>

#include "vfs/query/value.h"

namespace mrb::query {

/// What a query is asked of: a file, a memo. Views hold until the element is changed, or until the
/// next call of the same function.
class Element {
 public:
  virtual ~Element() = default;

  [[nodiscard]] virtual std::string_view name() const = 0;
  /// Its second name; a file's path.
  [[nodiscard]] virtual std::string_view path() const = 0;
  [[nodiscard]] virtual std::string_view text() const = 0;
  [[nodiscard]] virtual List topics() const = 0;
  [[nodiscard]] virtual List keywords() const = 0;
  [[nodiscard]] virtual List flags() const = 0;
  [[nodiscard]] virtual bool is_deleted() const = 0;
};

}  // namespace mrb::query
