#include "vellora/Services/VelloraService.h"

#include "vellora/Services/VelloraServiceImplementation.h"

namespace vellora {

namespace {

template <class T>
std::shared_ptr<T> required(std::shared_ptr<T> part) {
  if (!part) throw VelloraServiceError::requiredAPI();
  return part;
}

/// Asks for the facilities in their order and stops at the first one that is absent.
RequiredAPI requiredFrom(const std::shared_ptr<CorvaneSDK::PlatformAPI>& api) {
  const auto platform = required(api);
  auto network = required(platform->network());
  auto cache = required(platform->cache());
  auto logger = required(platform->logger());
  return {std::move(network), std::move(cache), std::move(logger)};
}

/// `completion`, or one that does nothing. A lookup without a completion is carried out too: it fills the
/// cache.
template <class Completion>
Completion orNothing(Completion completion) {
  return completion ? std::move(completion) : Completion([](const auto&) {});
}

}  // namespace

std::string VelloraService::State::description() const {
  switch (case_) {
    case Case::isLoading:
      return "isLoading";
    case Case::loaded:
      return "loaded";
    case Case::failed:
      break;
  }
  return "failed(" + error_->description() + ")";
}

bool operator==(const VelloraService::State& left, const VelloraService::State& right) {
  if (left.case_ != right.case_) return false;
  return !left.error_ || left.error_->localizedDescription() == right.error_->localizedDescription();
}

VelloraService::VelloraService(const std::shared_ptr<CorvaneSDK::PlatformAPI>& api, double cacheTimeout,
                               std::string theme, std::shared_ptr<DispatchQueue> queue)
    : implementation_(Implementation::make(requiredFrom(api), cacheTimeout, std::move(theme),
                                           required(std::move(queue)))) {
  implementation_->prefetch();
}

VelloraService::~VelloraService() = default;

CorvaneSDK::ServiceIdentifier VelloraService::serviceIdentifier() {
  return {"VelloraService", 1};
}

void VelloraService::configure(const std::shared_ptr<CorvaneSDK::PlatformAPI>&) {}

VelloraService::State VelloraService::primerState() const {
  return implementation_->primerState().value();
}

Publisher<VelloraService::State> VelloraService::primerStateStream() const {
  return implementation_->primerState().stream();
}

Publisher<WillChange> VelloraService::objectWillChange() const {
  return implementation_->objectWillChange().publisher();
}

bool VelloraService::primedAndCached() const {
  return implementation_->primedAndCached();
}

const MetadataServices& VelloraService::services() const {
  return implementation_->services();
}

void VelloraService::releaseMemory() const {
  implementation_->services().releaseMemory();
}

// Each lookup keeps the implementation until it returns. The service may be destroyed earlier, by a
// completion or by an observer of the state, on this thread or on another. A presentation lookup has to end
// then, so it keeps no copy of the service's handle.

void VelloraService::objectPresentationInfoForIds(const std::vector<std::string>& ids,
                                                  PresentationCompletion completion) {
  const auto implementation = implementation_->shared_from_this();
  implementation->objectPresentationInfoForIds(ids, orNothing(std::move(completion)));
}

void VelloraService::objectPresentationInfoForApiNames(const std::vector<std::string>& apiNames,
                                                       PresentationCompletion completion) {
  const auto implementation = implementation_->shared_from_this();
  implementation->objectPresentationInfoForApiNames(apiNames, orNothing(std::move(completion)));
}

void VelloraService::objectLayoutInfoForApiNames(const std::vector<std::string>& apiNames,
                                                 LayoutCompletion completion) {
  const auto implementation = implementation_;
  implementation->objectLayoutInfoForApiNames(implementation, apiNames, orNothing(std::move(completion)));
}

void VelloraService::objectCompactLayoutInfoForApiNames(const std::vector<std::string>& apiNames,
                                                        CompactLayoutCompletion completion) {
  const auto implementation = implementation_;
  implementation->objectCompactLayoutInfoForApiNames(implementation, apiNames,
                                                     orNothing(std::move(completion)));
}

}  // namespace vellora
