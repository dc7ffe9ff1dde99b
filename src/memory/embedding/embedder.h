#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "common/error.h"

namespace mrb::memory {

/// Turns a text into a vector by a model. Any failure means "unreachable" to whoever asks; its kind
/// is kUnavailable when there is nobody to ask at all. Any thread.
using Embedder =
    std::function<Result<std::vector<float>>(const std::string& model, std::string_view text)>;

/// The model that is used when none is named.
inline constexpr std::string_view kDefaultEmbedderModel = "nomic-embed-text";

/// More than any model has, and a bound for what an answer may make us store.
inline constexpr std::size_t kMaxDimension = 65'536;

/// Where an embedding server listens.
struct EmbedderAddress {
  std::uint32_t ipv4 = 0x7F000001;  ///< host byte order
  std::uint16_t port = 11434;

  bool operator==(const EmbedderAddress&) const = default;
};

/// Reads "host", "host:port" or "http://host:port/": an IPv4 address or "localhost"; an address
/// that is meant for listening on all of them is loopback. kInvalidArgument for anything else.
[[nodiscard]] Result<EmbedderAddress> ParseEmbedderAddress(std::string_view text);

/// The vector of an embedding answer: the array "embedding", or the first of "embeddings".
/// kCorrupt without one, or when it is empty, too long, or holds what is no finite number.
[[nodiscard]] Result<std::vector<float>> ParseEmbedding(std::string_view json);

/// How long to wait for a connection, and for everything behind it.
struct EmbedderTimes {
  std::chrono::milliseconds connect{500};
  std::chrono::milliseconds answer{30'000};
};

/// Asks the server at `address`.
[[nodiscard]] Embedder HttpEmbedder(EmbedderAddress address, EmbedderTimes times = {});

/// The machine's embedder: where OLLAMA_HOST says, else on loopback.
[[nodiscard]] Embedder SystemEmbedder();

}  // namespace mrb::memory
