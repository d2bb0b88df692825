#include "hostkit/cache/rows/KeyedDigest.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <unistd.h>

#include <array>

#include "hostkit/libraries/CLibraries.h"

namespace vellora::hostkit {

std::string randomKey() {
  std::string key(keySize, '\0');
  return getentropy(key.data(), key.size()) == 0 ? key : std::string();
}

std::string keyedDigest(std::string_view key, std::string_view text) {
  keepOpenSslToTheEnd();
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned length = 0;
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  const auto* made = HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), bytes, text.size(),
                          digest.data(), &length);
  return made == nullptr ? std::string() : std::string(reinterpret_cast<const char*>(made), length);
}

}  // namespace vellora::hostkit
