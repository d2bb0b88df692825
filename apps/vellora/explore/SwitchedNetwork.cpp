#include "apps/vellora/explore/SwitchedNetwork.h"

#include <optional>
#include <utility>

#include "vellora/Platform/Values/Error.h"

namespace vellora::explore {

SwitchedNetwork::SwitchedNetwork(std::shared_ptr<CorvaneSDK::Network> next,
                                 std::shared_ptr<const ServerSwitch> reachable)
    : next_(std::move(next)), reachable_(std::move(reachable)) {}

void SwitchedNetwork::sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) {
  if (*reachable_) return next_->sendRequest(request, std::move(completion));
  completion(std::nullopt, Error(ServerTakenAway()), std::nullopt);
}

}  // namespace vellora::explore
