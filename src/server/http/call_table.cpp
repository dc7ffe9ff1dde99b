#include "server/http/call_table.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstring>
#include <span>

#include "platform/paths.h"
#include "platform/process.h"

namespace mrb::server {
namespace {

constexpr std::string_view kMagic = "MRBCALL1";
constexpr std::size_t kHead = 64;
constexpr std::size_t kDigits = 16;  // of each of an id's two numbers

enum State : std::uint64_t { kFree = 0, kBegun = 1, kAnswered = 2 };

}  // namespace

struct CallTable::Entry {
  std::uint64_t high;
  std::uint64_t low;
  std::uint64_t begun;
  std::uint64_t state;  // written last, so that a reader never takes half an entry for whole

  void set_state(State to) { std::atomic_ref(state).store(to, std::memory_order_release); }
  [[nodiscard]] bool is(const Id& id) const {
    return state != kFree && high == id.high && low == id.low;
  }
};

std::optional<CallTable::Id> CallTable::read_id(std::string_view text) {
  if (text.size() != 2 * kDigits) return std::nullopt;
  Id id{};
  const auto read = [&](std::size_t at, std::uint64_t& number) {
    const char* end = text.data() + at + kDigits;
    return std::from_chars(text.data() + at, end, number, 16).ptr == end;
  };
  if (!read(0, id.high) || !read(kDigits, id.low)) return std::nullopt;
  return id;
}

CallTable::CallTable(platform::MappedFile file) : file_(std::move(file)) {}

Result<CallTable> CallTable::open(const std::string& path) {
  auto file = platform::MappedFile::open(path, kHead + kSets * kWays * sizeof(Entry));
  if (!file) return std::unexpected(std::move(file.error()));
  const auto bytes = file->bytes();
  if (std::memcmp(bytes.data(), kMagic.data(), kMagic.size()) != 0) {
    std::ranges::fill(bytes, std::byte{0});
    std::memcpy(bytes.data(), kMagic.data(), kMagic.size());
  }
  CallTable table(std::move(*file));
  const std::span entries(reinterpret_cast<const Entry*>(bytes.data() + kHead), kSets * kWays);
  for (const Entry& entry : entries) table.counter_ = std::max(table.counter_, entry.begun);
  return table;
}

CallTable::Entry* CallTable::set_of(const Id& id) const {
  auto* entries = reinterpret_cast<Entry*>(file_.bytes().data() + kHead);
  return entries + id.high % kSets * kWays;
}

bool CallTable::begin(std::string_view text) {
  const auto id = read_id(text);
  if (!id) return false;
  const std::scoped_lock lock(*mutex_);
  const std::span<Entry> set(set_of(*id), kWays);
  Entry& entry = *std::ranges::min_element(
      set, {}, [](const Entry& each) { return std::pair(each.state == kBegun, each.begun); });
  entry.set_state(kFree);
  entry.high = id->high;
  entry.low = id->low;
  entry.begun = ++counter_;
  entry.set_state(kBegun);
  return true;
}

void CallTable::end(std::string_view text) {
  const auto id = read_id(text);
  if (!id) return;
  const std::scoped_lock lock(*mutex_);
  for (Entry& entry : std::span<Entry>(set_of(*id), kWays)) {
    if (entry.is(*id)) entry.set_state(kAnswered);
  }
}

Result<bool> WasBegun(platform::FileSystem& files, const std::string& path, std::string_view text) {
  const auto id = CallTable::read_id(text);
  if (!id) return Fail(ErrorKind::kInvalidArgument, "no id of a call");
  const auto bytes = platform::ReadFile(files, path);
  if (!bytes && bytes.error().kind == ErrorKind::kNotFound) return false;
  if (!bytes) return std::unexpected(bytes.error());
  if (!bytes->starts_with(kMagic)) return false;
  const std::size_t at =
      kHead + id->high % CallTable::kSets * CallTable::kWays * sizeof(CallTable::Entry);
  for (std::size_t way = 0; way < CallTable::kWays; ++way) {
    CallTable::Entry entry{};
    const std::size_t from = at + way * sizeof(entry);
    if (from + sizeof(entry) > bytes->size()) break;
    std::memcpy(&entry, bytes->data() + from, sizeof(entry));
    if (entry.is(*id)) return true;
  }
  return false;
}

std::string CallTablePath(std::int32_t port, const std::string& data_home) {
  return platform::JoinPath(platform::SharedStateFolder(data_home),
                            "Mirebolt_calls_" + std::to_string(port));
}

}  // namespace mrb::server
