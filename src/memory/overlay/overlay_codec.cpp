// The overlay file: magic, name, labels, keys, vectors, every number little-endian.

#include <algorithm>
#include <bit>

#include "common/binary_fields.h"
#include "memory/embedding/embedder.h"
#include "memory/overlay/overlay.h"
#include "memory/record/context_id.h"
#include "memory/record/store_format.h"

namespace mrb::memory {

namespace {

constexpr std::uint64_t kLabelBytes = 4;  // the least that each of these takes
constexpr std::uint64_t kKeyBytes = 12;
constexpr std::uint64_t kVectorBytes = 12;

}  // namespace

std::string EncodeOverlay(const Overlay& overlay) {
  std::string out(kOverlayMagic);
  PutText(out, overlay.name());
  PutWord(out, static_cast<std::uint32_t>(overlay.labels().size()));
  for (const Overlay::Label& label : overlay.labels()) {
    PutText(out, label.name);
  }
  PutWord(out, static_cast<std::uint32_t>(overlay.keys().size()));
  for (const Overlay::Key& key : overlay.keys()) {
    PutWord(out, key.offset);
    PutWord(out, key.label);
  }
  PutWord(out, static_cast<std::uint32_t>(overlay.vectors().size()));
  for (const Overlay::Vector& vector : overlay.vectors()) {
    PutWord(out, vector.offset);
    PutWord(out, vector.dimension);
    for (const float value : overlay.floats(vector)) {
      PutWord(out, std::bit_cast<std::uint32_t>(value));
    }
  }
  return out;
}

Result<Overlay> DecodeOverlay(std::string_view bytes) {
  FieldReader in(bytes);
  const bool magic = in.take(kOverlayMagic.size()) == kOverlayMagic;
  Overlay overlay{std::string(in.text())};
  for (std::uint32_t left = in.count(kLabelBytes); left > 0 && in.good(); --left) {
    overlay.append_label(in.text());
  }
  std::vector<Overlay::Key> keys(in.count(kKeyBytes));
  for (Overlay::Key& key : keys) {
    key.offset = in.word<std::uint64_t>();
    key.label = in.word<std::uint32_t>();
  }
  std::ranges::sort(keys, {}, &Overlay::Key::offset);  // others may write them as they like
  for (const Overlay::Key& key : keys) {
    (void)overlay.set_key(key.offset, key.label);
  }
  for (std::uint32_t left = in.count(kVectorBytes); left > 0 && in.good(); --left) {
    const auto offset = in.word<std::uint64_t>();
    const auto dimension = in.word<std::uint32_t>();
    const std::string_view raw =
        in.take(dimension > kMaxDimension ? bytes.size() + 1 : std::uint64_t{dimension} * 4);
    std::vector<float> vector(raw.size() / 4);
    for (std::size_t i = 0; i < vector.size(); ++i) {
      vector[i] = std::bit_cast<float>(LoadU32(raw.data() + i * 4));
    }
    if (in.good()) overlay.set_vector(offset, vector);
  }
  const bool named = CheckContextId(overlay.name()).has_value();
  if (!magic || !named || !in.good() || !in.at_end()) {
    return Fail(ErrorKind::kCorrupt, "not a whole overlay file");
  }
  return overlay;
}

}  // namespace mrb::memory
