#include "hostkit/network/Revalidation.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <new>
#include <utility>

#include "hostkit/network/Validators.h"
#include "vellora/Platform/Queues/Sleep.h"

namespace vellora::hostkit {

namespace {

constexpr int ok = 200;

/// Adds the time until it ends to a sum.
class TimeInCache {
 public:
  explicit TimeInCache(Revalidation::Clock::duration& sum) : sum_(sum) {}
  ~TimeInCache() { sum_ += Sleep::now() - begun_; }
  TimeInCache(const TimeInCache&) = delete;
  TimeInCache& operator=(const TimeInCache&) = delete;

 private:
  Revalidation::Clock::duration& sum_;
  const Revalidation::Clock::time_point begun_ = Sleep::now();
};

std::string keyOf(const std::shared_ptr<KeptBodies>& bodies) {
  try {
    return bodies ? bodies->digestKey() : std::string();
  } catch (const std::bad_alloc&) {
    return {};
  }
}

}  // namespace

Revalidation::Revalidation(std::shared_ptr<KeptBodies> bodies, std::shared_ptr<const KnownSecrets> secrets)
    : bodies_(std::move(bodies)), secrets_(std::move(secrets)), asked_(keyOf(bodies_)) {}

CurlRequest Revalidation::withCondition(const CurlRequest& request, const std::string& url) {
  place_.reset();
  kept_.reset();
  noted_.reset();
  isOutdated_ = false;
  CurlRequest sent = request;
  if (!bodies_ || hasOwnCondition(request.headerLines) || request.hasOwnCredentials()) return sent;
  try {
    lookUp(request, url);
    if (kept_) sent.headerLines.push_back(conditionOn(kept_->headers));
  } catch (const std::bad_alloc&) {
    place_.reset();
    kept_.reset();
  }
  return sent;
}

void Revalidation::lookUp(const CurlRequest& request, const std::string& url) {
  const TimeInCache time(timeOfCache_);
  place_ = bodies_->placeOf(asked_, url, request.headerLines);
  // The digest leaves OpenSSL's errors of this thread behind. They would stay for ever where the process ends
  // OpenSSL before the thread, as it may with a network that is let go of on its own thread.
  OPENSSL_thread_stop();
  if (place_) kept_ = bodies_->load(*place_);
  if (kept_ && (!canBeAskedFor(kept_->headers) || tellsSecret(kept_->headers))) giveUp();
}

void Revalidation::giveUp() {
  const TimeInCache time(timeOfCache_);
  kept_.reset();
  try {
    if (place_) bodies_->remove(*place_);
  } catch (const std::bad_alloc&) {
    place_.reset();
  }
}

const KeptBody* Revalidation::confirmedBy(const ResponseHead& notModified) const {
  return isAbout(kept_->headers, notModified) ? &*kept_ : nullptr;
}

bool Revalidation::mayKeep(int status, const ResponseHead& head) const {
  return headersToKeep(status, head).has_value();
}

std::optional<CorvaneSDK::Meta> Revalidation::headersToKeep(int status, const ResponseHead& head) const {
  if (!place_ || status != ok) return std::nullopt;
  auto headers = validatorsIn(head);
  return headers && tellsSecret(*headers) ? std::nullopt : std::move(headers);
}

bool Revalidation::tellsSecret(const CorvaneSDK::Meta& headers) const {
  return std::any_of(headers.begin(), headers.end(), [this](const auto& header) {
    return secrets_->cleaned(header.second) != header.second;
  });
}

void Revalidation::note(int status, const ResponseHead& head, std::optional<Data> body) {
  auto headers = body ? headersToKeep(status, head) : std::nullopt;
  isOutdated_ = kept_ && !headers;
  if (headers) noted_ = KeptBody{*std::move(headers), *std::move(body)};
}

void Revalidation::keepNoted() {
  const TimeInCache time(timeOfCache_);
  try {
    if (noted_) bodies_->save(*place_, *noted_);
    if (isOutdated_) bodies_->remove(*place_);
  } catch (const std::bad_alloc&) {
    // the next request asks for the body as if none were kept
  }
}

}  // namespace vellora::hostkit
