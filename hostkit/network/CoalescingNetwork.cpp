#include "hostkit/network/CoalescingNetwork.h"

#include <iterator>
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
  Flight(NetRequest sent, std::string sentWith, std::weak_ptr<Flights> flights)
      : request(std::move(sent)), credential(std::move(sentWith)), among(std::move(flights)) {}
  ~Flight();
  Flight(const Flight&) = delete;
  Flight& operator=(const Flight&) = delete;

  const NetRequest request;
  const std::string credential;
  const std::weak_ptr<Flights> among;
  std::vector<Completion> waiting;  // under the mutex of `Flights`
  bool hasLanded = false;           // under the mutex of `Flights`
};

/// The requests under way. Held weakly here and strongly by the other network's completion: should that
/// network drop it, the next request is not left waiting for an answer that cannot come.
class CoalescingNetwork::Flights : public std::enable_shared_from_this<Flights> {
 public:
  /// Lets `completion` wait for the equal request under way. If there is none, gives the new flight that is
  /// to be sent.
  std::shared_ptr<Flight> join(const NetRequest& request, std::string credential, Completion completion) {
    std::vector<std::shared_ptr<Flight>> seen;  // dropped after the lock: the last handle may go here
    std::shared_ptr<Flight> made;               // likewise, when there is no memory to keep it
    const std::lock_guard lock(mutex_);
    const auto [begin, end] = underWay_.equal_range(urlOf(request));
    for (auto each = begin; each != end; ++each) {
      const auto flight = seen.emplace_back(each->second.lock());
      if (!flight || flight->request != request || flight->credential != credential) continue;
      flight->waiting.push_back(std::move(completion));
      return nullptr;
    }
    made = std::make_shared<Flight>(request, std::move(credential), weak_from_this());
    made->waiting.push_back(std::move(completion));
    underWay_.emplace(urlOf(request), made);
    return made;
  }

  /// Ends `flight`: from here on an equal request is a new one. Gives who waits for its answer.
  std::vector<Completion> land(const std::shared_ptr<Flight>& flight) {
    const std::lock_guard lock(mutex_);
    if (!std::exchange(flight->hasLanded, true)) {
      forget(flight->request, [&](const std::weak_ptr<Flight>& each) {
        return !each.owner_before(flight) && !flight.owner_before(each);
      });
    }
    return std::exchange(flight->waiting, {});
  }

  /// Forgets what the other network has dropped of the requests for that URL.
  void forgetDropped(const NetRequest& request) {
    const std::lock_guard lock(mutex_);
    forget(request, [](const std::weak_ptr<Flight>& each) { return each.expired(); });
  }

 private:
  template <class Condition>
  void forget(const NetRequest& request, Condition isMeant) {
    auto [each, end] = underWay_.equal_range(urlOf(request));
    while (each != end) each = isMeant(each->second) ? underWay_.erase(each) : std::next(each);
  }

  std::mutex mutex_;
  std::unordered_multimap<std::string, std::weak_ptr<Flight>> underWay_;  // by URL; under mutex_
};

CoalescingNetwork::Flight::~Flight() {
  if (hasLanded) return;
  if (const auto flights = among.lock()) flights->forgetDropped(request);
}

CoalescingNetwork::CoalescingNetwork(std::shared_ptr<CorvaneSDK::Network> next, Credential credential)
    : next_(std::move(next)), credential_(std::move(credential)), flights_(std::make_shared<Flights>()) {}

CoalescingNetwork::~CoalescingNetwork() = default;

void CoalescingNetwork::sendRequest(const NetRequest& request, Completion completion) {
  if (!canBeShared(request)) return next_->sendRequest(request, std::move(completion));
  std::shared_ptr<Flight> flight =
      flights_->join(request, credential_ ? credential_() : std::string(), std::move(completion));
  if (!flight) return;
  next_->sendRequest(request, [flights = flights_, flight = std::move(flight)](
                                  const auto& data, const auto& error, const auto& response) {
    for (const Completion& waiting : flights->land(flight)) waiting(data, error, response);
  });
}

}  // namespace vellora::hostkit
