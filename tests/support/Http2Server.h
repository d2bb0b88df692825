#pragma once

#include <string>

#include "tests/support/ServerProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestCertificate.h"

namespace vellora::tests {

/// A server on an ephemeral loopback port that speaks HTTP/2 over TLS and nothing older.
///
/// Ownership: owns its process, its certificate and its files.
///
/// Errors: `std::runtime_error` when it does not start.
class Http2Server {
 public:
  Http2Server();

  /// Answers `path`, which begins with "/" and has no second one, with `body` from now on.
  void serve(const std::string& path, const std::string& body);

  /// Such as "https://127.0.0.1:40123".
  [[nodiscard]] const std::string& url() const noexcept { return url_; }

  [[nodiscard]] std::string certificate() const { return certificate_.file(); }

  /// Ends it, and gives what it wrote of every frame that it sent and received, header lines included.
  [[nodiscard]] std::string stop() { return process_.stop(); }

 private:
  TestCertificate certificate_;
  TemporaryFolder files_;
  ServerProcess process_;
  std::string url_;
};

}  // namespace vellora::tests
