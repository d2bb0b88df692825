#pragma once

#include <string>
#include <vector>

#include "tests/support/ServerProcess.h"
#include "tests/support/TestCertificate.h"

namespace vellora::tests {

/// A server that speaks HTTP/2 over TLS on an ephemeral loopback port, and ends its connections in place of
/// an answer. Each answer is "{}".
///
/// Ownership: owns its process and its certificate.
///
/// Errors: `std::runtime_error` when it does not start.
class ClosingHttp2Server {
 public:
  /// The first connection gives the first number of answers, the second one the second, and so on; the last
  /// number is that of all further ones.
  explicit ClosingHttp2Server(const std::vector<std::string>& answers);

  /// Such as "https://127.0.0.1:40123".
  [[nodiscard]] const std::string& url() const noexcept { return url_; }

  /// The certificate's file.
  [[nodiscard]] std::string certificate() const { return certificate_.file(); }

  /// Ends it, and gives all that it wrote: behind its port a line for each request, such as "asked 2." on the
  /// second connection.
  [[nodiscard]] std::string stop() { return process_.stop(); }

 private:
  TestCertificate certificate_;
  ServerProcess process_;
  std::string url_;
};

}  // namespace vellora::tests
