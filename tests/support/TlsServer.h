#pragma once

#include <cstddef>
#include <string>

#include "tests/support/ServerProcess.h"
#include "tests/support/TestCertificate.h"

namespace vellora::tests {

/// A server with TLS on an ephemeral loopback port. What comes in over TLS it passes on to a server without,
/// and that one's answers and resets back; a client that it has no TLS with gets no further.
///
/// Ownership: owns its process and its certificate.
class TlsServer {
 public:
  /// `plainPort` is the loopback port of the server without TLS; `subject` and `valid` are the certificate's.
  explicit TlsServer(int plainPort, const std::string& subject = "IP:127.0.0.1",
                     TestCertificate::Valid valid = TestCertificate::Valid::now);

  /// Such as "https://127.0.0.1:40123".
  [[nodiscard]] const std::string& url() const noexcept { return url_; }

  /// The certificate's file.
  [[nodiscard]] std::string certificate() const { return certificate_.file(); }

  /// Waits until the client's system has that many bytes of the server without TLS, all on one connection.
  void waitUntilSent(std::size_t bytes) { (void)process_.restOfLine("sent " + std::to_string(bytes) + "."); }

  /// Ends it all at once, connections included.
  void kill() { process_.stop(); }

 private:
  TestCertificate certificate_;
  ServerProcess process_;
  std::string url_;
};

}  // namespace vellora::tests
