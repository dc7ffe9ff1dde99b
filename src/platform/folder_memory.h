#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

namespace mrb::platform {

/// What is in each folder of one tree, kept from one walk to the next: a folder that is unchanged
/// by the system's word is not listed again, which is a third of a walk's time. About 20 bytes a
/// name. Filled and read by FileSystem::walk(), where the system's word can be relied on; one walk
/// at a time.
class FolderMemory {
 public:
  /// The entries of a folder, as long as its state is the one given.
  struct Listing {
    std::uint64_t folder_id = 0;
    std::int64_t changed_ns = 0;
    std::uint64_t walk = 0;  // the last that saw the folder
    std::string names;       // a byte for the type, the name, a zero byte; and again
  };

  /// A folder that changed less than `racy_ns` before it was listed is not remembered: it may
  /// change again without a later time, because clocks of file systems tick as slowly as once in
  /// two seconds.
  explicit FolderMemory(std::int64_t racy_ns = 3'000'000'000) : racy_ns_(racy_ns) {}

  [[nodiscard]] std::int64_t racy_ns() const { return racy_ns_; }

  void begin_walk() {
    ++walk_;
    seen_ = 0;
  }

  /// The listing of a folder, an empty one for one that is new; valid until end_walk().
  [[nodiscard]] Listing& of(const std::string& path) {
    Listing& listing = listings_[path];
    if (listing.walk != walk_) ++seen_;
    listing.walk = walk_;
    return listing;
  }

  /// Forgets folders that the walk did not see, once they are many.
  void end_walk() {
    if (listings_.size() <= 2 * seen_) return;
    std::erase_if(listings_, [this](const auto& entry) { return entry.second.walk != walk_; });
  }

 private:
  std::int64_t racy_ns_;
  std::unordered_map<std::string, Listing> listings_;
  std::uint64_t walk_ = 0;
  std::size_t seen_ = 0;  // folders in this walk
};

}  // namespace mrb::platform
