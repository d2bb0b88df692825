#include "tests/support/TlsServer.h"

namespace vellora::tests {

TlsServer::TlsServer(int plainPort, const std::string& subject, TestCertificate::Valid valid)
    : certificate_(subject, valid),
      process_(
          {"python3", TLS_RELAY, certificate_.file(), certificate_.keyFile(), std::to_string(plainPort)}),
      url_("https://127.0.0.1:" + process_.restOfLine("port ")) {}

}  // namespace vellora::tests
