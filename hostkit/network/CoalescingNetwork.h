#pragma once

#include <functional>
#include <memory>
#include <string>

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
/// A request that is no GET, or has a body, is passed on. The cost of a request does not grow with the number
/// of those under way.
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
  /// Gives what the other network authenticates a request with, such as its token. Asked for each request
  /// that could be shared, on the thread that calls `sendRequest`.
  using Credential = std::function<std::string()>;

  /// Sends through `next`. With `credential` a request joins only one that was sent with the same: else it
  /// could get the answer to an older token, or to another user.
  explicit CoalescingNetwork(std::shared_ptr<CorvaneSDK::Network> next, Credential credential = {});
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
  const Credential credential_;
  const std::shared_ptr<Flights> flights_;
};

}  // namespace vellora::hostkit
