#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/error.h"
#include "memory/record/record.h"

namespace mrb::memory {

/// The error of a field that is longer than the format can say.
[[nodiscard]] std::unexpected<Error> TooLongError();

/// Records back to back, as a heap takes them over.
class RecordBatch {
 public:
  /// Adds a new record; kInvalidArgument, and nothing added, when a field is too long.
  [[nodiscard]] Status add(const RecordFields& fields);

  /// Adds a copy of a whole record. One that ends for want of its dimension word gets that word, or
  /// it would take the first bytes of the next record for it.
  void add_whole(std::string_view record);

  /// Makes `count` whole records that lie elsewhere, and stay there, all there is.
  void borrow(std::string_view records, std::uint64_t count);

  void reserve(std::uint64_t bytes) { bytes_.reserve(bytes); }

  [[nodiscard]] std::string_view bytes() const { return borrowed_.empty() ? bytes_ : borrowed_; }
  [[nodiscard]] std::uint64_t count() const { return count_; }

 private:
  std::string bytes_;
  std::string_view borrowed_;
  std::uint64_t count_ = 0;
};

}  // namespace mrb::memory
