#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"
#include "common/http_answer.h"
#include "memory/embedding/embed_settings.h"
#include "memory/embedding/embedder.h"

// What an embedding server may answer, at once and byte by byte, and the settings that name it.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace mrb::memory;
  using mrb::HttpAnswer;
  constexpr std::size_t kMaxBody = 1U << 20U;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  HttpAnswer whole(kMaxBody);
  const bool good = whole.feed(bytes).has_value() && whole.end().has_value();
  HttpAnswer dripped(kMaxBody);
  bool dripping = true;
  for (std::size_t i = 0; i < size && dripping; ++i) {
    dripping = dripped.feed(bytes.substr(i, 1)).has_value();
  }
  dripping = dripping && dripped.end().has_value();
  FUZZ_CHECK(good == dripping);
  if (good) FUZZ_CHECK(whole.body() == dripped.body() && whole.status() == dripped.status());
  for (const std::string_view json : {std::string_view(whole.body()), bytes}) {
    if (const auto vector = ParseEmbedding(json)) {
      FUZZ_CHECK(!vector->empty() && vector->size() <= kMaxDimension);
      for (const float value : *vector) FUZZ_CHECK(std::isfinite(value));
    }
  }
  const EmbedSettings settings = ParseEmbedSettings(bytes);
  FUZZ_CHECK(ParseEmbedSettings(FormatEmbedSettings(settings)) == settings);
  (void)ParseEmbedderAddress(bytes);
  return 0;
}
