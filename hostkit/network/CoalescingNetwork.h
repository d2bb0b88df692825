#pragma once

#include <memory>

#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

/// Wraps another network: equal GETs that are under way at the same time share one request to it, and each of
/// their completions gets its answer, in the order in which they were sent. The library shares none by
/// itself, because only a host knows whether its network may.
///
/// A request that is sent once the answer has come goes to the other network again: this is no cache. Equal
/// means equal in everything, the time-out included; the time of a request that joins another is that one's.
/// What is not a plain GET is passed on.
///
/// Ownership: shares the other network, which must not be null. Requests under way outlive this object and
/// complete as if it lived. A completion that the other network drops uncalled takes those that joined it
/// along. Threads: `sendRequest` may be called from any thread, also from a completion. Completions run where
/// the other network calls, with no lock held. Errors: the other network's; each completion gets them.
class VELLORA_EXPORT CoalescingNetwork final : public CorvaneSDK::Network {
 public:
  explicit CoalescingNetwork(std::shared_ptr<CorvaneSDK::Network> next);
  ~CoalescingNetwork() override;
  CoalescingNetwork(const CoalescingNetwork&) = delete;
  CoalescingNetwork& operator=(const CoalescingNetwork&) = delete;

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;

 private:
  struct Flight;
  class Flights;

  const std::shared_ptr<CorvaneSDK::Network> next_;
  const std::shared_ptr<Flights> flights_;
};

}  // namespace vellora::hostkit
