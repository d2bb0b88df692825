#include "testkit/FaultyNetwork.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace vellora::testkit {

using CorvaneSDK::NetRequest;

namespace {

using Completion = CorvaneSDK::Network::Completion;
using Body = std::optional<Data>;

std::string garbage() {
  return {'\xff', '\xfe', '\0', '\x80', '{', '\xc3', '\0', '\x01'};
}

/// The body that arrives in the place of `right`.
Body wrongBody(HostFault fault, const Body& right, const HostFaults& faults) {
  switch (fault) {
    case HostFault::emptyBody:
      return Data();
    case HostFault::errorBody:
      return Data(faults.substitutes().errorBody);
    case HostFault::truncatedBody:
      return right ? Body(Data(right->data(), right->size() / 2)) : right;
    case HostFault::garbageBody:
      return Data(garbage());
    default:
      return std::nullopt;
  }
}

void answerAtOnce(const NetRequest& request, const Completion& completion,
                  const HostFaults::Substitutes& substitutes) {
  Body body = substitutes.answerAtOnce ? substitutes.answerAtOnce(request) : std::nullopt;
  if (!body) return completion(std::nullopt, FaultyNetwork::Failure{}, std::nullopt);
  completion(std::move(body), std::nullopt, std::nullopt);
}

}  // namespace

/// What waits for the test; shared with the answers that are still to come. What it lets go of is freed with
/// no lock held, since that may send requests.
class FaultyNetwork::Held {
 public:
  using Delivery = std::function<void()>;

  void keepUncalled(Completion completion) {
    const std::lock_guard lock(mutex_);
    uncalled_.push_back(std::move(completion));
  }

  void keepLate(Delivery delivery) {
    const std::lock_guard lock(mutex_);
    late_.push_back(std::move(delivery));
  }

  [[nodiscard]] std::vector<Delivery> takeLate() {
    const std::lock_guard lock(mutex_);
    return std::exchange(late_, {});
  }

  [[nodiscard]] std::vector<Completion> takeUncalled() {
    const std::lock_guard lock(mutex_);
    return std::exchange(uncalled_, {});
  }

 private:
  std::mutex mutex_;  // guards what follows
  std::vector<Delivery> late_;
  std::vector<Completion> uncalled_;
};

FaultyNetwork::FaultyNetwork(std::shared_ptr<CorvaneSDK::Network> next, std::shared_ptr<HostFaults> faults)
    : next_(std::move(next)), faults_(std::move(faults)), held_(std::make_shared<Held>()) {}

FaultyNetwork::~FaultyNetwork() = default;

void FaultyNetwork::sendRequest(const NetRequest& request, Completion completion) {
  const auto fault = faults_->next({HostCall::Operation::sendRequest, request.base().url.absoluteString()});
  if (!fault) return next_->sendRequest(request, std::move(completion));
  switch (*fault) {
    case HostFault::neverAnswered:
      return held_->keepUncalled(std::move(completion));
    case HostFault::answeredAtOnce:
      return answerAtOnce(request, completion, faults_->substitutes());
    default:
      return next_->sendRequest(request, withFault(*fault, std::move(completion)));
  }
}

CorvaneSDK::Network::Completion FaultyNetwork::withFault(HostFault fault, Completion completion) const {
  switch (fault) {
    case HostFault::answeredLate:
      return [held = held_, completion = std::move(completion)](const auto& body, const auto& error,
                                                                const auto& response) {
        held->keepLate([=] { completion(body, error, response); });
      };
    case HostFault::answeredTwice:
      return [completion = std::move(completion)](const auto& body, const auto& error, const auto& response) {
        completion(body, error, response);
        completion(body, error, response);
      };
    case HostFault::networkError:
      return [completion = std::move(completion)](const auto&, const auto&, const auto& response) {
        completion(std::nullopt, Failure{}, response);
      };
    default:
      return [fault, faults = faults_, completion = std::move(completion)](const auto& body, const auto&,
                                                                           const auto& response) {
        completion(wrongBody(fault, body, *faults), std::nullopt, response);
      };
  }
}

std::size_t FaultyNetwork::deliverLate() {
  const auto held = held_;  // a completion may drop the network
  std::size_t count = 0;
  for (auto& each : held->takeLate()) {
    const auto delivery = std::move(each);  // what it holds is freed before the next one runs
    delivery();
    ++count;
  }
  return count;
}

void FaultyNetwork::dropHeld() {
  const auto late = held_->takeLate();
  const auto uncalled = held_->takeUncalled();
}

}  // namespace vellora::testkit
