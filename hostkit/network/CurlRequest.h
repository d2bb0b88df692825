#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/network/ServerAddress.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Host/NetRequest.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// A request as it goes to the wire, checked.
struct CurlRequest {
  std::string url;                       ///< absolute
  std::vector<std::string> headerLines;  ///< each as curl takes it
  double timeout;                        ///< seconds, finite and positive
  std::string token;                     ///< so that no error text repeats it; empty when none is sent

  /// What is done with the token.
  struct TokenSetting {
    std::function<std::optional<std::string>()> provider = {};
    bool mayGoUnprotected = false;  ///< over http to another machine
    std::function<std::optional<std::string>(const std::string& refused)> renewal = {};

    /// What is to be sent in place of `refused`: what `renewal` gives, or, without one, `provider`.
    [[nodiscard]] std::optional<std::string> renewed(const std::string& refused) const;
  };

  /// Checks `request` and adds the token. Fails with a `CurlNetworkError` for what must not be sent: another
  /// method than GET, a body, a URL that names a server, a header or token that would not stay on its line, a
  /// token that would go unprotected.
  [[nodiscard]] static Result<CurlRequest> prepare(const CorvaneSDK::NetRequest& request,
                                                   const ServerAddress& server, const TokenSetting& token);

  /// The same request with `other` in place of its token. Fails as `prepare` does for a token that would not
  /// stay on its line.
  [[nodiscard]] Result<CurlRequest> withToken(const std::string& other, const ServerAddress& server) const;

  /// Whether it has an `Authorization` header that is not the token's.
  [[nodiscard]] bool hasOwnCredentials() const;

  /// Tells `secrets` what no text may repeat once the request has been sent: the credentials of its
  /// `Authorization` header, be they its token or its own.
  void noteSecretsIn(KnownSecrets& secrets) const;
};

}  // namespace vellora::hostkit
