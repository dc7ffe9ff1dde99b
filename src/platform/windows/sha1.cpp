#include "platform/sha1.h"

#include <windows.h>
//
#include <bcrypt.h>

namespace mrb::platform {

// When the system's hashing fails the digest stays zero, and the peer refuses the handshake.
Sha1Digest Sha1(std::string_view bytes) {
  Sha1Digest digest{};
  BCRYPT_ALG_HANDLE algorithm = nullptr;
  if (::BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA1_ALGORITHM, nullptr, 0) < 0) {
    return digest;
  }
  // The call writes to neither; its types are older than const.
  auto* input = reinterpret_cast<PUCHAR>(const_cast<char*>(bytes.data()));
  if (::BCryptHash(algorithm, nullptr, 0, input, static_cast<ULONG>(bytes.size()), digest.data(),
                   static_cast<ULONG>(digest.size())) < 0) {
    digest = {};
  }
  ::BCryptCloseAlgorithmProvider(algorithm, 0);
  return digest;
}

}  // namespace mrb::platform
