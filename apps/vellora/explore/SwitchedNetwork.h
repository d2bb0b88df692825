#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "vellora/Host/Network.h"

namespace vellora::explore {

/// Whether requests reach the server.
///
/// Threads: synchronises itself.
using ServerSwitch = std::atomic<bool>;

/// Why a request failed while the switch was off.
struct ServerTakenAway {
  [[nodiscard]] static std::string localizedDescription() { return "the server has been taken away"; }
};

/// Passes requests on. While the switch is off a request fails at once, inside `sendRequest`; one that is
/// under way when it is turned off still gets its answer.
///
/// Ownership: shares what it is given.
///
/// Threads: as safe as the other network.
class SwitchedNetwork final : public CorvaneSDK::Network {
 public:
  SwitchedNetwork(std::shared_ptr<CorvaneSDK::Network> next, std::shared_ptr<const ServerSwitch> reachable);

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;

 private:
  const std::shared_ptr<CorvaneSDK::Network> next_;
  const std::shared_ptr<const ServerSwitch> reachable_;
};

}  // namespace vellora::explore
