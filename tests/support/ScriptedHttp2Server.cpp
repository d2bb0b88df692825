#include "tests/support/ScriptedHttp2Server.h"

namespace vellora::tests {

namespace {

std::vector<std::string> commandWith(const TestCertificate& certificate,
                                     const std::vector<std::string>& answers) {
  std::vector<std::string> words{"python3", SCRIPTED_HTTP2_SERVER, certificate.file(), certificate.keyFile()};
  words.insert(words.end(), answers.begin(), answers.end());
  return words;
}

}  // namespace

ScriptedHttp2Server::ScriptedHttp2Server(const std::vector<std::string>& answers)
    : certificate_("IP:127.0.0.1"),
      process_(commandWith(certificate_, answers)),
      url_("https://127.0.0.1:" + process_.restOfLine("port ")) {}

}  // namespace vellora::tests
