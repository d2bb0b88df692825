#include "hostkit/network/Revalidation.h"

#include <algorithm>
#include <new>
#include <utility>

#include "hostkit/network/Validators.h"

namespace vellora::hostkit {

namespace {

constexpr int ok = 200;

std::string keyOf(const std::shared_ptr<KeptBodies>& bodies) {
  return bodies ? bodies->digestKey() : std::string();
}

}  // namespace

Revalidation::Revalidation(std::shared_ptr<KeptBodies> bodies, std::shared_ptr<const KnownSecrets> secrets)
    : bodies_(std::move(bodies)), secrets_(std::move(secrets)), asked_(keyOf(bodies_)) {}

CurlRequest Revalidation::withCondition(const CurlRequest& request, const std::string& url) {
  place_.reset();
  kept_.reset();
  noted_.reset();
  isOutdated_ = false;
  if (!bodies_ || hasOwnCondition(request.headerLines)) return request;
  lookUp(request, url);
  CurlRequest conditional = request;
  if (kept_) conditional.headerLines.push_back(conditionOn(kept_->headers));
  return conditional;
}

void Revalidation::lookUp(const CurlRequest& request, const std::string& url) {
  try {
    place_ = bodies_->placeOf(asked_, url, request.headerLines);
    if (place_) kept_ = bodies_->load(*place_);
  } catch (const std::bad_alloc&) {
    place_.reset();
  }
}

void Revalidation::giveUp() {
  if (place_) bodies_->remove(*place_);
  kept_.reset();
}

const KeptBody* Revalidation::confirmedBy(const ResponseHead& notModified) const {
  return kept_ && isAbout(kept_->headers, notModified) ? &*kept_ : nullptr;
}

bool Revalidation::mayKeep(int status, const ResponseHead& head) const {
  return headersToKeep(status, head).has_value();
}

std::optional<CorvaneSDK::Meta> Revalidation::headersToKeep(int status, const ResponseHead& head) const {
  if (!place_ || status != ok) return std::nullopt;
  auto headers = validatorsIn(head);
  const bool tells = headers && std::any_of(headers->begin(), headers->end(), [this](const auto& header) {
                       return secrets_->cleaned(header.second) != header.second;
                     });
  return tells ? std::nullopt : std::move(headers);
}

void Revalidation::note(int status, const ResponseHead& head, std::optional<Data> body) {
  if (!place_) return;
  auto headers = body ? headersToKeep(status, head) : std::nullopt;
  isOutdated_ = kept_ && !headers;
  if (headers) noted_ = KeptBody{*std::move(headers), *std::move(body)};
}

void Revalidation::keepNoted() {
  try {
    if (noted_) bodies_->save(*place_, *noted_);
    if (isOutdated_) bodies_->remove(*place_);
  } catch (const std::bad_alloc&) {
    isOutdated_ = false;  // the next request asks for the body as if none were kept
  }
}

}  // namespace vellora::hostkit
