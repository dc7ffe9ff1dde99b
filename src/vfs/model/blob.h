#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace mrb::vfs {

/// A file's bytes at one moment: immutable, shared by everything that refers to them, freed with
/// the last reference. A default one is the empty text and holds no memory. References may be
/// copied and dropped by any thread; one reference object is not for two threads at once.
class Blob {
 public:
  Blob() = default;
  Blob(const Blob& other) noexcept;
  Blob(Blob&& other) noexcept;
  Blob& operator=(Blob other) noexcept;
  ~Blob();

  /// Throws std::bad_alloc.
  [[nodiscard]] static Blob copy_of(std::string_view bytes);

  [[nodiscard]] std::string_view bytes() const;
  [[nodiscard]] std::uint64_t hash() const;

  /// Whether both hold the same bytes; at once when they are one blob, or hash differently.
  [[nodiscard]] bool equals(const Blob& other) const;

  /// Whether nothing else refers to it.
  [[nodiscard]] bool is_sole() const;

  /// Starts fetching what copying this writes: a loop over many blobs, each of them far from the
  /// last, calls it for some ahead.
  void prefetch() const { __builtin_prefetch(header_, 1); }

 private:
  friend class BlobBuffer;
  friend class BlobSlab;
  struct Chunk;
  struct Header {
    std::atomic<std::uint32_t> references = 1;
    Chunk* chunk = nullptr;  ///< that it lies in; null: it has memory of its own
    std::uint64_t hash = 0;
  };
  Blob(Header* header, std::size_t size) : header_(header), size_(size) {}
  static void release(Header* header);

  Header* header_ = nullptr;  // followed by the bytes
  std::size_t size_ = 0;      // here and not there: to learn it costs no access to far memory
};

/// Memory for many blobs at once: large pieces, which cost a fraction of the page faults and, for
/// small blobs, of the memory of an allocation each. A piece is freed when the last blob in it is:
/// for blobs that are likely to stay together. Not thread-safe; the blobs are like any other.
class BlobSlab {
 public:
  BlobSlab() = default;
  BlobSlab(const BlobSlab&) = delete;
  BlobSlab& operator=(const BlobSlab&) = delete;
  ~BlobSlab();

  /// `hash` is HashBytes(bytes). Throws std::bad_alloc.
  [[nodiscard]] Blob copy_of(std::string_view bytes, std::uint64_t hash);

 private:
  Blob::Chunk* chunk_ = nullptr;  // that is being filled
};

/// Memory that is filled once and then becomes a blob without being copied.
class BlobBuffer {
 public:
  /// Throws std::bad_alloc.
  explicit BlobBuffer(std::size_t capacity);
  BlobBuffer(const BlobBuffer&) = delete;
  BlobBuffer& operator=(const BlobBuffer&) = delete;
  ~BlobBuffer();

  [[nodiscard]] char* data();
  [[nodiscard]] std::size_t capacity() const { return capacity_; }

  /// The first `size` bytes, at most the capacity, as a blob. Once.
  [[nodiscard]] Blob seal(std::size_t size);

 private:
  Blob::Header* header_;
  std::size_t capacity_;
};

/// Lets equal contents share one blob. Not thread-safe.
class BlobPool {
 public:
  /// The pooled blob of these bytes; `blob` itself when there was none.
  [[nodiscard]] Blob intern(Blob blob);

  /// The pooled blob of these bytes, whose HashBytes() is `hash`; empty when there is none.
  [[nodiscard]] Blob find(std::string_view bytes, std::uint64_t hash) const;

  [[nodiscard]] std::size_t count() const { return used_; }

 private:
  void grow();
  [[nodiscard]] std::size_t slot_of(std::string_view bytes, std::uint64_t hash) const;

  std::vector<Blob> slots_;  // open addressing, a power of two; an empty blob is a free slot
  std::size_t used_ = 0;
};

/// A fast 64-bit hash, for tables in memory only: four multiplicative lanes, mixed at the end as in
/// MurmurHash3's finalizer (Appleby). Whoever can choose the bytes can find collisions.
[[nodiscard]] std::uint64_t HashBytes(std::string_view bytes);

}  // namespace mrb::vfs
