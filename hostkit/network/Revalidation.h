#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "hostkit/bodies/KeptBodies.h"
#include "hostkit/bodies/KeptBody.h"
#include "hostkit/network/CurlRequest.h"
#include "hostkit/network/ResponseHead.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Host/Row.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit {

/// One request's dealings with the bodies that are kept: the condition that it is sent with, what a 304 to it
/// stands for, and what of its answer is kept.
///
/// Ownership: shares the bodies, null for none; then nothing is asked with a condition, and nothing kept.
///
/// Threads: built on one thread, then used by one.
///
/// Errors: what cannot be read, or could not have come from a server, is asked for without a condition, and
/// so is what finds no memory; nor is that kept.
class Revalidation {
 public:
  using Clock = std::chrono::steady_clock;

  /// What tells one of `secrets` is not kept as a tag: a server may send a token back. They are never null.
  Revalidation(std::shared_ptr<KeptBodies> bodies, std::shared_ptr<const KnownSecrets> secrets);

  /// The header lines to send `request` to `url` with: its own, and a condition if a body is kept. What was
  /// found out for another URL, or another token, is forgotten. A request with an `Authorization` header of
  /// its own has none, and nothing of its answer is kept: whose it is, is not known here.
  [[nodiscard]] CurlRequest withCondition(const CurlRequest& request, const std::string& url);

  /// From now on the request goes out without a condition. What was kept is deleted: it was of no use.
  void giveUp();

  /// Whether the request went out with a condition about a body that is kept.
  [[nodiscard]] bool hasAsked() const noexcept { return kept_.has_value(); }

  /// What a 304 of that head stands for; null when it is about another body. Call it only if `hasAsked()`.
  [[nodiscard]] const KeptBody* confirmedBy(const ResponseHead& notModified) const;

  /// Whether the answer of that head to the request may be kept, if its body is no larger than `mostKept`.
  [[nodiscard]] bool mayKeep(int status, const ResponseHead& head) const;

  /// How large a body may be, as it comes, to be kept.
  [[nodiscard]] std::size_t mostKept() const noexcept { return bodies_ ? bodies_->mostOfOne() : 0; }

  /// Notes what is to be kept of the answer, or that the one before must go. `body` is as it came; absent
  /// when that is not known, or it is not to be kept.
  void note(int status, const ResponseHead& head, std::optional<Data> body);

  /// How long the cache has taken since this was asked last.
  [[nodiscard]] Clock::duration takeTimeOfCache() noexcept { return std::exchange(timeOfCache_, {}); }

  /// Writes what was noted. Call it before the request's completion: who has the answer may ask again at
  /// once, or end the process.
  void keepNoted();

 private:
  [[nodiscard]] std::optional<CorvaneSDK::Meta> headersToKeep(int status, const ResponseHead& head) const;
  [[nodiscard]] bool tellsSecret(const CorvaneSDK::Meta& headers) const;
  void lookUp(const CurlRequest& request, const std::string& url);

  const std::shared_ptr<KeptBodies> bodies_;
  const std::shared_ptr<const KnownSecrets> secrets_;
  const std::string asked_;  // the key of the digest at the moment at which the request was asked for
  std::optional<KeptBodies::Place> place_;
  std::optional<KeptBody> kept_;   // what the condition is about
  std::optional<KeptBody> noted_;  // what is to be kept
  bool isOutdated_ = false;        // what is kept has to go
  Clock::duration timeOfCache_{};
};

}  // namespace vellora::hostkit
