#pragma once

#include <string>
#include <vector>

#include "tests/support/ServerProcess.h"
#include "tests/support/TestCertificate.h"

namespace vellora::tests {

/// A server that speaks HTTP/2 over TLS on an ephemeral loopback port, and answers as it was told to.
///
/// Ownership: owns its process and its certificate.
///
/// Errors: `std::runtime_error` when it does not start.
class ScriptedHttp2Server {
 public:
  /// The first connection gives the first answers, the second one the second, and so on; the last are those
  /// of all further ones. Answers are words with blanks between them; scripted_http2_server.py says which
  /// there are. In place of one more answer the connection ends.
  explicit ScriptedHttp2Server(const std::vector<std::string>& answers);

  /// Such as "https://127.0.0.1:40123".
  [[nodiscard]] const std::string& url() const noexcept { return url_; }

  /// The certificate's file.
  [[nodiscard]] std::string certificate() const { return certificate_.file(); }

  /// Waits until it has written that, anywhere.
  void waitUntilWritten(const std::string& text) { process_.waitUntilWritten(text); }

  /// Ends it, and gives all that it wrote: behind its port a line for each request, such as "asked 2." on the
  /// second connection.
  [[nodiscard]] std::string stop() { return process_.stop(); }

 private:
  TestCertificate certificate_;
  ServerProcess process_;
  std::string url_;
};

}  // namespace vellora::tests
