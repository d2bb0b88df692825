#pragma once

#include <memory>

#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

/// Wraps another network: equal GETs that are under way at the same time share one request to it, and each of
/// their completions gets its answer, in the order in which they were sent. The library shares none by
/// itself, because only a host knows whether its network may.
///
///     auto network = std::make_shared<CoalescingNetwork>(std::make_shared<MyNetwork>());
///
/// A request that is sent once the answer has come goes to the other network again: this is no cache. Equal
/// means equal in everything, the time-out included; the time of a request that joins another is that one's.
/// A request that is no GET, or has a body, is passed on.
///
/// Ownership: shares the other network, which must not be null. Requests under way outlive this object and
/// complete as if it lived. If the other network drops a completion uncalled, those of the requests that
/// joined it are dropped, too.
///
/// Threads: `sendRequest` may be called from any thread, also from a completion. Completions run where the
/// other network calls, with no lock held.
///
/// Errors: the other network's; each completion gets them.
class VELLORA_EXPORT CoalescingNetwork final : public CorvaneSDK::Network {
 public:
  /// Sends through `next`.
  explicit CoalescingNetwork(std::shared_ptr<CorvaneSDK::Network> next);
  ~CoalescingNetwork() override;
  CoalescingNetwork(const CoalescingNetwork&) = delete;
  CoalescingNetwork& operator=(const CoalescingNetwork&) = delete;

  /// Joins `request` to an equal one that is under way, or sends it. `completion` is called once, with what
  /// the other network answers.
  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;

 private:
  struct Flight;
  class Flights;

  const std::shared_ptr<CorvaneSDK::Network> next_;
  const std::shared_ptr<Flights> flights_;
};

}  // namespace vellora::hostkit
