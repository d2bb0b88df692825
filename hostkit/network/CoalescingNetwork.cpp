#include "hostkit/network/CoalescingNetwork.h"

#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vellora::hostkit {

using CorvaneSDK::NetRequest;

namespace {

const std::string& urlOf(const NetRequest& request) {
  return request.base().url.absoluteString();
}

bool canBeShared(const NetRequest& request) {
  return request.base().httpMethod == "GET" && !request.base().body;
}

}  // namespace

/// One request on its way, and who waits for its answer.
struct CoalescingNetwork::Flight {
  const NetRequest request;
  std::vector<Completion> waiting;  // under the mutex of `Flights`
};

/// The requests under way. Held weakly here and strongly by the other network's completion: should that
/// network drop it, the next request is not left waiting for an answer that cannot come.
class CoalescingNetwork::Flights {
 public:
  /// Lets `completion` wait for the equal request under way. If there is none, gives the new flight that is
  /// to be sent.
  std::shared_ptr<Flight> join(const NetRequest& request, Completion completion) {
    std::vector<std::shared_ptr<Flight>> seen;  // dropped after the lock: the last handle may go here
    const std::lock_guard lock(mutex_);
    const auto [begin, end] = underWay_.equal_range(urlOf(request));
    for (auto each = begin; each != end; ++each) {
      const auto flight = seen.emplace_back(each->second.lock());
      if (!flight || flight->request != request) continue;
      flight->waiting.push_back(std::move(completion));
      return nullptr;
    }
    auto flight = std::make_shared<Flight>(Flight{request, {}});
    flight->waiting.push_back(std::move(completion));
    underWay_.emplace(urlOf(request), flight);
    return flight;
  }

  /// Ends `flight`: from here on an equal request is a new one. Gives who waits for its answer.
  std::vector<Completion> land(const std::shared_ptr<Flight>& flight) {
    const std::lock_guard lock(mutex_);
    std::erase_if(underWay_, [&](const auto& each) {
      return each.second.expired() ||
             (!each.second.owner_before(flight) && !flight.owner_before(each.second));
    });
    return std::exchange(flight->waiting, {});
  }

 private:
  std::mutex mutex_;
  std::unordered_multimap<std::string, std::weak_ptr<Flight>> underWay_;  // by URL; under mutex_
};

CoalescingNetwork::CoalescingNetwork(std::shared_ptr<CorvaneSDK::Network> next)
    : next_(std::move(next)), flights_(std::make_shared<Flights>()) {}

CoalescingNetwork::~CoalescingNetwork() = default;

void CoalescingNetwork::sendRequest(const NetRequest& request, Completion completion) {
  if (!canBeShared(request)) return next_->sendRequest(request, std::move(completion));
  std::shared_ptr<Flight> flight = flights_->join(request, std::move(completion));
  if (!flight) return;
  next_->sendRequest(request, [flights = flights_, flight = std::move(flight)](
                                  const auto& data, const auto& error, const auto& response) {
    for (const Completion& waiting : flights->land(flight)) waiting(data, error, response);
  });
}

}  // namespace vellora::hostkit
