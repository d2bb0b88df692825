#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/bodies/KeptBodies.h"
#include "hostkit/network/CurlRequest.h"
#include "hostkit/network/RequestOutcome.h"
#include "hostkit/network/ServerAddress.h"
#include "hostkit/secrets/KnownSecrets.h"

namespace vellora::hostkit {

/// What is the same for every request of a network.
///
/// Ownership: must outlive the transfers that refer to it.
///
/// Threads: constant, hence safe to read from several threads; `observer` and the token's renewal run on the
/// network's own thread.
///
/// Units: seconds, bytes.
struct TransferSetting {
  ServerAddress server;
  std::optional<std::string> caFile;  ///< absent: the system's certificate authorities
  std::size_t maxBodyBytes;           ///< after unpacking
  double connectTimeout;
  std::function<void(const RequestOutcome&)> observer;  ///< may be empty
  CurlRequest::TokenSetting token = {};
  std::size_t maxWaiting = 100'000;  ///< requests that may wait until they are sent
  std::size_t maxBodyValues = 1'000'000;
  std::shared_ptr<KnownSecrets> secrets = std::make_shared<KnownSecrets>();  ///< what was sent; never null
  std::shared_ptr<KeptBodies> bodies = {};  ///< for conditional requests; null for none
  bool pausesWhenRefused = false;           ///< leaves a server alone that says 429 or 503
};

/// `seconds` in the unit that curl takes: 1 at least, since 0 stands for "no limit" there, and a day at most,
/// which every `long` holds.
[[nodiscard]] inline long wholeMilliseconds(double seconds) {
  constexpr double longest = 24 * 60 * 60;
  return std::max(1L, static_cast<long>(1000 * std::max(0.0, std::min(longest, seconds))));
}

}  // namespace vellora::hostkit
