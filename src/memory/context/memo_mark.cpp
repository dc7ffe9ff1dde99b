#include "memory/context/memo_mark.h"

#include <array>
#include <cinttypes>
#include <cstdio>

#include "common/fnv1a.h"

namespace mrb::memory {

std::string MemoMark(const ContextIndex& index, std::uint32_t row) {
  const RecordView record = index.record(row);
  const std::uint64_t hash = Fnv1a(record.content) * 31 + record.written;
  std::array<char, 24> text{};
  const int length =
      std::snprintf(text.data(), text.size(), "%012" PRIx64, hash & 0xFFFF'FFFF'FFFF);
  return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace mrb::memory
