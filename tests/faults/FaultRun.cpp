#include "tests/faults/FaultRun.h"

#include <optional>
#include <utility>

#include "testkit/SilentLogger.h"

namespace vellora::faults {

using testkit::FaultyHost;
using testkit::HostCall;
using testkit::HostFaults;

namespace {

HostFaults::Substitutes substitutesFrom(const CacheImage* image) {
  HostFaults::Substitutes substitutes;
  substitutes.answerAtOnce = answerOf;
  if (image) {
    substitutes.anothersBytes = [image](const HostCall& call, const Data& right) {
      return image->anothers(call).value_or(right);
    };
  }
  return substitutes;
}

}  // namespace

FaultRun::FaultRun(tests::ManualQueues& queues, std::shared_ptr<CorvaneSDK::Cache> cache,
                   const CacheImage* anothers)
    : queues_(queues),
      host_(std::make_shared<FaultyHost>(server_, std::move(cache), std::make_shared<testkit::SilentLogger>(),
                                         substitutesFrom(anothers))) {}

FaultRun::~FaultRun() {
  release();
}

Deliveries FaultRun::perform(const Operation& operation) {
  deliveries_->clear();
  service_ = operation.ask(*this, service_);
  settle(operation.runsHostQueue);
  return *deliveries_;
}

void FaultRun::release() {
  service_.reset();
  alarmsLeft_ = timer_->pending();
  settle(true);
  host_->dropHeld();
  settle(true);
}

std::vector<std::string> FaultRun::leftovers() {
  std::vector<std::string> left;
  if (completionToken_.use_count() != 1) left.emplace_back("a completion");
  if (host_->handlesOutside() != 0) left.emplace_back("a handle to the host");
  if (queues_.pending() + hostQueue_->pending() != 0) left.emplace_back("queued work");
  if (hostQueue_.use_count() != 1) left.emplace_back("a handle to the queue");
  if (alarmsLeft_ != 0) left.emplace_back("a deadline");
  if (timer_.use_count() != 1) left.emplace_back("a handle to the timer");
  return left;
}

std::function<void(Delivery)> FaultRun::deliver() {
  return [deliveries = deliveries_, token = completionToken_](Delivery delivery) {
    deliveries->push_back(std::move(delivery));
  };
}

/// Queues first, then the network, then what is late, and last the deadlines: each only when nothing before
/// it is left to do.
void FaultRun::settle(bool runsHostQueue) {
  const auto runQueues = [&] { return queues_.runAll() + (runsHostQueue ? hostQueue_->runAll() : 0) > 0; };
  while (runQueues() || server_->answerNext() || host_->deliverLate() > 0 || timer_->advanceToNext()) {
  }
}

}  // namespace vellora::faults
