#pragma once

#include <cstdint>
#include <string>
#include <tuple>

#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Catalog/Failure.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::explore {

/// A failure as the page shows it: what failed, why, and of which kind it is, on which the advice depends.
struct ShownFailure {
  /// "signIn", "forbidden", "notFound", "serverError", "refused", "unreachable", "timedOut", "tls",
  /// "unusable", "takenAway" or "other".
  std::string kind;
  std::int64_t status = 0;  ///< of the server's answer; 0 where it was none, or a success
  std::string request;      ///< the path that was asked for; empty when nothing was
  std::string text;         ///< the reason, in the words of the command
  std::string words;        ///< what the server said of it; empty where it said nothing

  static constexpr auto fields() {
    return std::tuple(json::field("kind", &ShownFailure::kind), json::field("status", &ShownFailure::status),
                      json::field("request", &ShownFailure::request),
                      json::field("text", &ShownFailure::text), json::field("words", &ShownFailure::words));
  }
};

/// The failure without `secrets`: its texts may quote the server.
[[nodiscard]] ShownFailure shownFailure(const Failure& failure, const hostkit::KnownSecrets& secrets);

}  // namespace vellora::explore
