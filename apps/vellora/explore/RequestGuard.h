#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "apps/http/Request.h"
#include "apps/http/Response.h"

namespace vellora::explore {

/// Decides which requests are answered. Any web page that the user has open can send requests to a port of
/// this machine, and anybody can make a domain name lead there. Neither may read or change anything.
///
/// Threads: immutable, hence safe to use from several threads.
class RequestGuard {
 public:
  /// What a request has to show.
  enum class Need {
    nothing,       ///< the page itself, which holds no data
    ownPage,       ///< that no other site's page sent it
    key,           ///< that, and the key
    keyAndOrigin,  ///< all that, and the page's own origin: for what changes something
  };

  /// The header that bears the key.
  static constexpr const char* keyHeader = "X-Vellora-Key";

  /// Only who reads what the command prints knows `key`.
  RequestGuard(std::uint16_t port, std::string key);

  /// Why the request is not answered; nothing when it may be. Whatever its path, a request must name this
  /// very server, "127.0.0.1:PORT" or "localhost:PORT", as its host.
  [[nodiscard]] std::optional<http::Response> refuse(const http::Request& request, Need need) const;

 private:
  [[nodiscard]] bool isForThisServer(const http::Request& request) const;
  [[nodiscard]] bool hasKey(const http::Request& request) const;

  const std::string port_;
  const std::string key_;
};

/// An answer of one line of text, for a person.
[[nodiscard]] http::Response plainText(int status, const std::string& text);

}  // namespace vellora::explore
