#include "vfs/model/blob.h"

#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "platform/page_buffer.h"

namespace mrb::vfs {
namespace {

constexpr std::uint64_t kOddConstant = 0x9e3779b97f4a7c15U;  // 2^64 / the golden ratio
constexpr std::size_t kFirstSlots = 64;
constexpr std::size_t kChunkBytes = std::size_t{16} << 20U;  // large enough for huge pages
constexpr std::size_t kLargeBlob = std::size_t{1} << 20U;    // gains nothing from lying in a chunk

/// The first eight bytes.
std::uint64_t Load(std::string_view bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes.data(), sizeof word);
  return word;
}

std::uint64_t Mix(std::uint64_t lane, std::uint64_t word) {
  return std::rotl((lane ^ word) * kOddConstant, 29);
}

std::uint64_t Finish(std::uint64_t hash) {
  hash = (hash ^ (hash >> 33U)) * 0xff51afd7ed558ccdU;
  hash = (hash ^ (hash >> 33U)) * 0xc4ceb9fe1a85ec53U;
  return hash ^ (hash >> 33U);
}

}  // namespace

std::uint64_t HashBytes(std::string_view bytes) {
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  std::array<std::uint64_t, 4> lanes{1, 2, 3, 4};
  const std::size_t size = bytes.size();
  for (; bytes.size() >= lanes.size() * kWord; bytes.remove_prefix(lanes.size() * kWord)) {
    for (std::size_t i = 0; i < lanes.size(); ++i) {
      lanes[i] = Mix(lanes[i], Load(bytes.substr(i * kWord)));
    }
  }
  std::uint64_t hash = size;
  for (const std::uint64_t lane : lanes) hash = Mix(hash, lane);
  for (; bytes.size() >= kWord; bytes.remove_prefix(kWord)) hash = Mix(hash, Load(bytes));
  std::uint64_t rest = 0;
  if (!bytes.empty()) std::memcpy(&rest, bytes.data(), bytes.size());
  return Finish(Mix(hash, rest));
}

struct Blob::Chunk {
  platform::PageBuffer memory;
  std::size_t used = 0;
  std::atomic<std::size_t> references = 1;  ///< its blobs, and the slab that fills it

  void drop() {
    if (references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
};

void Blob::release(Header* header) {
  Chunk* chunk = header->chunk;
  header->~Header();
  if (chunk != nullptr) {
    chunk->drop();
  } else {
    ::operator delete(header);
  }
}

Blob::Blob(const Blob& other) noexcept : header_(other.header_), size_(other.size_) {
  if (header_ != nullptr) header_->references.fetch_add(1, std::memory_order_relaxed);
}

Blob::Blob(Blob&& other) noexcept
    : header_(std::exchange(other.header_, nullptr)), size_(std::exchange(other.size_, 0)) {}

Blob& Blob::operator=(Blob other) noexcept {
  std::swap(header_, other.header_);
  std::swap(size_, other.size_);
  return *this;
}

Blob::~Blob() {
  if (header_ == nullptr) return;
  if (header_->references.fetch_sub(1, std::memory_order_acq_rel) == 1) release(header_);
}

Blob Blob::copy_of(std::string_view bytes) {
  BlobBuffer buffer(bytes.size());
  if (!bytes.empty()) std::memcpy(buffer.data(), bytes.data(), bytes.size());
  return buffer.seal(bytes.size());
}

std::string_view Blob::bytes() const {
  if (header_ == nullptr) return {};
  return {reinterpret_cast<const char*>(header_ + 1), size_};
}

std::uint64_t Blob::hash() const {
  return header_ == nullptr ? HashBytes({}) : header_->hash;
}

bool Blob::equals(const Blob& other) const {
  return header_ == other.header_ || (hash() == other.hash() && bytes() == other.bytes());
}

bool Blob::is_sole() const {
  return header_ != nullptr && header_->references.load(std::memory_order_acquire) == 1;
}

BlobBuffer::BlobBuffer(std::size_t capacity)
    : header_(new(::operator new(sizeof(Blob::Header) + capacity)) Blob::Header),
      capacity_(capacity) {}

BlobBuffer::~BlobBuffer() {
  if (header_ != nullptr) Blob::release(header_);
}

char* BlobBuffer::data() {
  return reinterpret_cast<char*>(header_ + 1);
}

Blob BlobBuffer::seal(std::size_t size) {
  if (size == 0) return {};
  header_->hash = HashBytes({data(), size});
  return {std::exchange(header_, nullptr), size};
}

BlobSlab::~BlobSlab() {
  if (chunk_ != nullptr) chunk_->drop();
}

Blob BlobSlab::copy_of(std::string_view bytes, std::uint64_t hash) {
  if (bytes.empty()) return {};
  if (bytes.size() > kLargeBlob) return Blob::copy_of(bytes);
  constexpr std::size_t kAlign = alignof(Blob::Header);
  const std::size_t needed = (sizeof(Blob::Header) + bytes.size() + kAlign - 1) / kAlign * kAlign;
  if (chunk_ == nullptr || chunk_->used + needed > chunk_->memory.capacity()) {
    auto chunk = std::make_unique<Blob::Chunk>();
    if (!chunk->memory.grow(kChunkBytes)) throw std::bad_alloc();
    if (chunk_ != nullptr) chunk_->drop();
    chunk_ = chunk.release();
  }
  auto* const header = new (chunk_->memory.data() + chunk_->used) Blob::Header;
  header->chunk = chunk_;
  header->hash = hash;
  std::memcpy(static_cast<void*>(header + 1), bytes.data(), bytes.size());
  chunk_->used += needed;
  chunk_->references.fetch_add(1, std::memory_order_relaxed);
  return {header, bytes.size()};
}

Blob BlobPool::intern(Blob blob) {
  if (blob.bytes().empty()) return {};
  if (used_ * 4 >= slots_.size() * 3) grow();
  Blob& slot = slots_[slot_of(blob.bytes(), blob.hash())];
  if (slot.bytes().empty()) {
    slot = std::move(blob);
    ++used_;
  }
  return slot;
}

Blob BlobPool::find(std::string_view bytes, std::uint64_t hash) const {
  return bytes.empty() || slots_.empty() ? Blob() : slots_[slot_of(bytes, hash)];
}

std::size_t BlobPool::slot_of(std::string_view bytes, std::uint64_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = static_cast<std::size_t>(hash) & mask;
  while (!slots_[slot].bytes().empty() &&
         (slots_[slot].hash() != hash || slots_[slot].bytes() != bytes)) {
    slot = (slot + 1) & mask;
  }
  return slot;
}

/// Doubles the table, leaving out what nobody refers to any more.
void BlobPool::grow() {
  std::vector<Blob> before(slots_.empty() ? kFirstSlots : slots_.size() * 2);
  before.swap(slots_);
  used_ = 0;
  for (Blob& blob : before) {
    if (blob.bytes().empty() || blob.is_sole()) continue;
    Blob& slot = slots_[slot_of(blob.bytes(), blob.hash())];
    slot = std::move(blob);
    ++used_;
  }
}

}  // namespace mrb::vfs
