#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace vellora::tests {

/// `openssl s_server` on an ephemeral loopback port, with a self-signed certificate of its own. It answers
/// each GET with a page of text.
///
/// Ownership: owns the process, and a folder with certificate and key that goes with it.
class TlsServer {
 public:
  /// `subject` is what the certificate is for, such as "IP:127.0.0.1" or "DNS:records.example".
  explicit TlsServer(const std::string& subject);
  ~TlsServer();
  TlsServer(const TlsServer&) = delete;
  TlsServer& operator=(const TlsServer&) = delete;

  /// Such as "https://127.0.0.1:40123".
  [[nodiscard]] const std::string& url() const noexcept { return url_; }

  /// The certificate, as PEM: who trusts this file trusts the server.
  [[nodiscard]] std::string certificate() const { return (folder_ / "certificate.pem").string(); }

 private:
  std::filesystem::path folder_;
  pid_t process_ = -1;
  int output_ = -1;
  std::string url_;
};

}  // namespace vellora::tests
