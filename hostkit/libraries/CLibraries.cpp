#include "hostkit/libraries/CLibraries.h"

#include <curl/curl.h>
#include <openssl/crypto.h>

namespace vellora::hostkit {

void keepOpenSslToTheEnd() {
  static const int isKept = OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
  static_cast<void>(isKept);
}

bool isCurlReady() {
  keepOpenSslToTheEnd();
  static const bool isReady = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
  return isReady;
}

}  // namespace vellora::hostkit
