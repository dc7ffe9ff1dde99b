#include "memory/overlay/overlay_set.h"

#include <algorithm>
#include <utility>

#include "common/fnv1a.h"
#include "common/little_endian.h"
#include "common/text.h"
#include "memory/record/store_format.h"
#include "platform/files.h"
#include "platform/paths.h"

namespace mrb::memory {

namespace {

using platform::JoinPath;

constexpr std::uint64_t kNotedBytes = 64U << 10U;  // of a heap that its note remembers, twice
constexpr std::string_view kPreparedSuffix = ".next";

/// What tells a heap from the one before the change: its length, the bytes from where they differ,
/// and its last ones.
template <typename Read>
std::string NoteOf(std::uint64_t bytes, std::uint64_t changed_at, Read read) {
  const auto hash = [&](std::uint64_t from) {
    return Fnv1a(read(from, std::min(kNotedBytes, bytes - from)));
  };
  std::string note(4 * sizeof(std::uint64_t), '\0');
  const std::uint64_t tail = bytes > kNotedBytes ? bytes - kNotedBytes : 0;
  const std::uint64_t words[] = {bytes, changed_at, hash(std::min(changed_at, bytes)), hash(tail)};
  for (std::size_t i = 0; i < 4; ++i) {
    StoreLittleEndian(note.data() + i * sizeof(std::uint64_t), words[i]);
  }
  return note;
}

bool Describes(std::string_view note, const RecordHeap& heap) {
  if (note.size() != 4 * sizeof(std::uint64_t) ||
      LoadLittleEndian<std::uint64_t>(std::span(note).first<sizeof(std::uint64_t)>()) !=
          heap.used()) {
    return false;
  }
  const std::uint64_t changed_at = LoadU64(note.data() + sizeof(std::uint64_t));
  return note == NoteOf(heap.used(), changed_at, [&](std::uint64_t from, std::uint64_t bytes) {
           return heap.text(from, bytes);
         });
}

}  // namespace

std::string OverlaySet::path_of(std::string_view type) const {
  return JoinPath(folder_, std::string(kOverlayPrefix).append(type).append(kOverlaySuffix));
}

Status OverlaySet::write(const std::string& path, std::string_view bytes) {
  return files_ == nullptr ? Status() : platform::ReplaceFile(*files_, path, bytes);
}

/// Finishes or undoes a change that was cut short.
Status OverlaySet::recover(const RecordHeap& heap) {
  const std::string note_path = JoinPath(folder_, kOverlayNoteName);
  const auto note = platform::ReadFile(*files_, note_path);
  const bool done = note && Describes(*note, heap);
  const auto entries = files_->list(folder_);
  if (!entries) return std::unexpected(entries.error());
  for (const platform::DirectoryEntry& entry : *entries) {
    if (!entry.name.starts_with(kOverlayPrefix) || !entry.name.ends_with(kPreparedSuffix)) continue;
    const std::string path = JoinPath(folder_, entry.name);
    const Status settled =
        done ? files_->rename_replace(path, path.substr(0, path.size() - kPreparedSuffix.size()))
             : files_->remove_file(path);
    if (!settled) return settled;
  }
  if (note || note.error().kind != ErrorKind::kNotFound) {
    if (const Status kept = files_->sync_directory(folder_); !kept) return kept;
    return files_->remove_file(note_path);
  }
  return {};
}

Status OverlaySet::load(const RecordHeap& heap, const MemoTable& memos) {
  overlays_.clear();
  damaged_.clear();
  if (const Status recovered = recover(heap); !recovered) return recovered;
  const auto entries = files_->list(folder_);
  if (!entries) return std::unexpected(entries.error());
  for (const platform::DirectoryEntry& entry : *entries) {
    if (!entry.name.starts_with(kOverlayPrefix) || !entry.name.ends_with(kOverlaySuffix)) continue;
    const auto bytes = platform::ReadFile(*files_, JoinPath(folder_, entry.name));
    if (!bytes) return std::unexpected(bytes.error());
    auto overlay = DecodeOverlay(*bytes);
    if (!overlay || !EqualsIgnoreCase(path_of(overlay->name()), JoinPath(folder_, entry.name))) {
      damaged_.push_back(entry.name);
      continue;
    }
    overlay->settle_mark(memos, heap.used());
    overlays_.push_back(std::move(*overlay));
  }
  const auto settings = platform::ReadFile(*files_, JoinPath(folder_, kEmbedSettingsName));
  if (!settings && settings.error().kind != ErrorKind::kNotFound) {
    return std::unexpected(settings.error());
  }
  settings_ = ParseEmbedSettings(settings.value_or(""));
  if (settings_.armed && find(kLocalModelType) == nullptr) {
    overlays_.emplace_back(std::string(kLocalModelType));  // arming it came that far only
    overlays_.back().settle_mark(memos, heap.used());
  }
  std::ranges::sort(overlays_, {}, &Overlay::name);
  uncertain_ = false;
  return {};
}

const Overlay* OverlaySet::find(std::string_view type) const {
  const auto known = std::ranges::find_if(
      overlays_, [&](const Overlay& overlay) { return EqualsIgnoreCase(overlay.name(), type); });
  return known == overlays_.end() ? nullptr : &*known;
}

Status OverlaySet::set_settings(const EmbedSettings& settings) {
  const Status written =
      write(JoinPath(folder_, kEmbedSettingsName), FormatEmbedSettings(settings));
  uncertain_ = uncertain_ || !written;
  if (written) settings_ = settings;
  return written;
}

Status OverlaySet::put(Overlay overlay) {
  if (const Status written = write(path_of(overlay.name()), EncodeOverlay(overlay)); !written) {
    uncertain_ = true;
    return written;
  }
  const auto known = std::ranges::find(overlays_, overlay.name(), &Overlay::name);
  if (known != overlays_.end()) {
    *known = std::move(overlay);
  } else {
    overlays_.insert(std::ranges::lower_bound(overlays_, overlay.name(), {}, &Overlay::name),
                     std::move(overlay));
  }
  return {};
}

Status OverlaySet::drop(std::string_view type) {
  const auto known = std::ranges::find_if(
      overlays_, [&](const Overlay& overlay) { return EqualsIgnoreCase(overlay.name(), type); });
  if (files_ != nullptr) {
    const Status removed = files_->remove_file(path_of(known->name()));
    if (!removed && removed.error().kind != ErrorKind::kNotFound) return removed;
    if (const Status kept = files_->sync_directory(folder_); !kept) {
      uncertain_ = true;
      return kept;
    }
  }
  overlays_.erase(known);
  return {};
}

Status OverlaySet::prepare(const Move& move) {
  prepared_.clear();
  if (overlays_.empty()) {
    return {};
  }
  pending_ = files_ != nullptr;
  for (const Overlay& overlay : overlays_) {
    prepared_.push_back(overlay.after(move.moved));
    const std::string path = path_of(overlay.name()).append(kPreparedSuffix);
    if (const Status written = write(path, EncodeOverlay(prepared_.back())); !written) {
      abandon();
      return written;
    }
  }
  const std::string note = NoteOf(move.heap_bytes, move.changed_at, move.read);
  if (const Status written = write(JoinPath(folder_, kOverlayNoteName), note); !written) {
    abandon();
    return written;
  }
  prepared_for_move_ = true;
  return {};
}

void OverlaySet::settle_marks(const RecordHeap& heap, const MemoTable& memos) {
  for (Overlay& overlay : overlays_) {
    overlay.settle_mark(memos, heap.used());
  }
}

Status OverlaySet::commit(const RecordHeap& heap, const MemoTable& memos) {
  if (!std::exchange(prepared_for_move_, false)) {
    return {};
  }
  overlays_ = std::move(prepared_);
  prepared_.clear();
  settle_marks(heap, memos);
  if (!pending_) {
    return {};
  }
  for (const Overlay& overlay : overlays_) {
    const std::string path = path_of(overlay.name());
    const Status placed = files_->rename_replace(std::string(path).append(kPreparedSuffix), path);
    if (!placed) return placed;
  }
  if (const Status kept = files_->sync_directory(folder_); !kept) return kept;
  if (const Status removed = files_->remove_file(JoinPath(folder_, kOverlayNoteName)); !removed) {
    return removed;
  }
  pending_ = false;
  return {};
}

void OverlaySet::abandon() {
  prepared_.clear();
  prepared_for_move_ = false;
  if (!pending_) return;
  // What cannot be removed now is dropped by the next load: its note is not of this store.
  (void)files_->remove_file(JoinPath(folder_, kOverlayNoteName));
  for (const Overlay& overlay : overlays_) {
    (void)files_->remove_file(path_of(overlay.name()).append(kPreparedSuffix));
  }
  pending_ = false;
}

}  // namespace mrb::memory
