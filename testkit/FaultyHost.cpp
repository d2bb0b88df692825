#include "testkit/FaultyHost.h"

#include <utility>

namespace vellora::testkit {

FaultyHost::FaultyHost(std::shared_ptr<CorvaneSDK::Network> network, std::shared_ptr<CorvaneSDK::Cache> cache,
                       std::shared_ptr<CorvaneSDK::Logger> logger, HostFaults::Substitutes substitutes)
    : faults_(std::make_shared<HostFaults>(std::move(substitutes))),
      network_(std::make_shared<FaultyNetwork>(std::move(network), faults_)),
      cache_(std::make_shared<FaultyCache>(std::move(cache), faults_)),
      logger_(std::make_shared<FaultyLogger>(std::move(logger), faults_)) {}

FaultyHost::~FaultyHost() = default;

void FaultyHost::plan(std::size_t call, HostFault fault, HostFaults::Lasting lasting) {
  faults_->plan(call, fault, lasting);
}

void FaultyHost::mend() {
  faults_->mend();
}

std::vector<HostCall> FaultyHost::calls() const {
  return faults_->calls();
}

void FaultyHost::clearCalls() {
  faults_->clearCalls();
}

std::size_t FaultyHost::deliverLate() {
  return network_->deliverLate();
}

void FaultyHost::dropHeld() {
  network_->dropHeld();
}

std::size_t FaultyHost::handlesOutside() const {
  const auto handles = network_.use_count() + cache_.use_count() + logger_.use_count();
  return static_cast<std::size_t>(handles) - 3;
}

}  // namespace vellora::testkit
