#pragma once

#include <string>
#include <string_view>

#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// Where a records server is: scheme, host and port, and the path prefix under which it lives.
///
/// Ownership: a plain value.
///
/// Threads: immutable, hence safe to read from several threads.
///
/// Errors: a `CurlNetworkError` of kind `invalidAddress`, `invalidRequest` or `refusedRedirect`.
class ServerAddress {
 public:
  /// Takes an address such as "https://records.example/prefix" apart. Credentials, query and fragment are
  /// refused: they have no place in a server's address, and the first two would end up in logs.
  [[nodiscard]] static Result<ServerAddress> parse(const std::string& text);

  /// The absolute URL of `relative`, a path that begins with one "/" and may have a query. Anything else is
  /// refused, so that no request can name another server.
  [[nodiscard]] Result<std::string> resolve(std::string_view relative) const;

  /// Fails unless `url`, the absolute target of a redirect, is on this very scheme, host and port and holds
  /// no credentials.
  [[nodiscard]] Result<std::string> admitRedirect(const std::string& url) const;

  /// "https" or "http".
  [[nodiscard]] const std::string& scheme() const noexcept { return scheme_; }

  /// Such as "records.example:443" or "[::1]:8080".
  [[nodiscard]] std::string hostAndPort() const { return host_ + ":" + port_; }

  /// True for this machine itself: "localhost", or what is a loopback address.
  [[nodiscard]] bool isLoopback() const;

 private:
  ServerAddress(std::string scheme, std::string host, std::string port, std::string prefix);

  std::string scheme_;
  std::string host_;
  std::string port_;
  std::string prefix_;  // empty, or begins with "/" and does not end with it
};

}  // namespace vellora::hostkit
