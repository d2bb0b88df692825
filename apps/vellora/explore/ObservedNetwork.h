#pragma once

#include <memory>

#include "apps/vellora/explore/Activity.h"
#include "vellora/Host/Network.h"

namespace vellora::explore {

/// Passes requests on, and notes how each ended. An answer whose status is no success is a failure, also
/// where the other network hands its body over.
///
/// Ownership: shares what it is given.
///
/// Threads: as safe as the other network.
///
/// Errors: what there is no memory to note is left out; the answer is passed on all the same.
class ObservedNetwork final : public CorvaneSDK::Network {
 public:
  ObservedNetwork(std::shared_ptr<CorvaneSDK::Network> next, std::shared_ptr<Activity> activity);

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;

 private:
  const std::shared_ptr<CorvaneSDK::Network> next_;
  const std::shared_ptr<Activity> activity_;
};

}  // namespace vellora::explore
