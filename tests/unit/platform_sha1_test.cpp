#include "platform/sha1.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace mrb::platform {
namespace {

std::string Hex(const Sha1Digest& digest) {
  std::string text;
  for (const std::uint8_t byte : digest) {
    text += "0123456789abcdef"[byte >> 4U];
    text += "0123456789abcdef"[byte & 15U];
  }
  return text;
}

TEST(Sha1Test, KnownDigests) {
  std::string eighty;  // RFC 3174: 80 times "01234567", ten of them at once
  for (int i = 0; i < 80; ++i) eighty += "01234567";
  for (const auto& [text, digest] : std::vector<std::pair<std::string, const char*>>{
           {"abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
           {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
            "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
           {std::string(1'000'000, 'a'), "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
           {eighty, "dea356a2cddd90c7a7ecedc5ebb563934f460452"},
           {"dGhlIHNhbXBsZSBub25jZQ==258EAFA5-E914-47DA-95CA-C5AB0DC85B11",  // RFC 6455, 1.3
            "b37a4f2cc0624f1690f64606cf385945b2bec4ea"},
       }) {
    EXPECT_EQ(Hex(Sha1(text)), digest) << text.substr(0, 60);
  }
}

TEST(Sha1Test, EveryWayThePaddingCanFall) {
  for (const auto& [size, digest] : std::vector<std::pair<std::size_t, const char*>>{
           {0, "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
           {55, "8ae2d46729cfe68ff927af5eec9c7d1b66d65ac2"},
           {56, "636e2ec698dac903498e648bd2f3af641d3c88cb"},
           {63, "6d942da0c4392b123528f2905c713a3ce28364bd"},
           {64, "c6138d514ffa2135bfce0ed0b8fac65669917ec7"},
           {65, "69bd728ad6e13cd76ff19751fde427b00e395746"},
           {119, "41c89d06001bab4ab78736b44efe7ce18ce6ae08"},
           {128, "e6434bc401f98603d7eda504790c98c67385d535"},
       }) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i % 251);
    EXPECT_EQ(Hex(Sha1(bytes)), digest) << size;
  }
}

}  // namespace
}  // namespace mrb::platform
