#pragma once

#include <optional>
#include <string>

namespace vellora::hostkit {

/// Where a Redis is: "redis://HOST[:PORT][/DATABASE]", "rediss://…" for one with TLS, or
/// "redis+unix:///PATH" for a socket on this machine.
struct RedisAddress {
  std::string text;  ///< as it was given; holds no password
  bool usesTls = false;
  std::string host;  ///< in brackets when it is an address of IPv6; empty for a socket
  int port = 6379;
  std::string socketPath;  ///< empty but for a socket
  int database = 0;

  /// Absent when `text` is no such address. One with a user, a password, a query or a fragment is none.
  [[nodiscard]] static std::optional<RedisAddress> parsed(const std::string& text);
};

}  // namespace vellora::hostkit
