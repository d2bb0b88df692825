#pragma once

#include <string>

#include "tests/support/TemporaryFolder.h"

namespace vellora::tests {

/// A self-signed certificate and its key, as PEM files: who trusts the certificate's file trusts its server.
///
/// Ownership: owns the folder with the files.
///
/// Errors: `std::runtime_error` when `openssl` does not make it.
class TestCertificate {
 public:
  enum class Valid { now, longAgo };

  /// `subject` is what it is for, such as "IP:127.0.0.1" or "DNS:records.example".
  explicit TestCertificate(const std::string& subject, Valid valid = Valid::now);

  [[nodiscard]] std::string file() const { return folder_.file("certificate.pem"); }
  [[nodiscard]] std::string keyFile() const { return folder_.file("key.pem"); }

 private:
  TemporaryFolder folder_;
};

}  // namespace vellora::tests
