#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "testkit/FaultyCache.h"
#include "testkit/FaultyLogger.h"
#include "testkit/FaultyNetwork.h"
#include "testkit/HostFaults.h"
#include "vellora/Host/PlatformAPI.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A host whose calls can be made to fail one by one, around the three facilities of another. Count the calls
/// of what you test, then try it again with each of them failing in each way:
///
///     FaultyHost host(network, cache, logger);
///     run(host);
///     const auto calls = host.calls();
///     for (std::size_t k = 0; k < calls.size(); ++k) {
///       for (const HostFault fault : faultsOf(calls[k].operation)) {
///         FaultyHost again(newNetwork(), newCache(), logger);
///         again.plan(k, fault, HostFaults::Lasting::fromThenOn);
///         run(again);  // … and check what came of it
///       }
///     }
///
/// The numbers are as steady as the order of the calls is: step the queues by hand.
///
/// Ownership: shares the three facilities that it is built around; none may be null. What it hands out may
/// outlive it; its faults last on.
///
/// Threads: safe to use from several threads at once, as far as those facilities are.
class VELLORA_EXPORT FaultyHost final : public CorvaneSDK::PlatformAPI {
 public:
  FaultyHost(std::shared_ptr<CorvaneSDK::Network> network, std::shared_ptr<CorvaneSDK::Cache> cache,
             std::shared_ptr<CorvaneSDK::Logger> logger, HostFaults::Substitutes substitutes = {});
  ~FaultyHost() override;

  [[nodiscard]] std::shared_ptr<CorvaneSDK::Network> network() override { return network_; }
  [[nodiscard]] std::shared_ptr<CorvaneSDK::Cache> cache() override { return cache_; }
  [[nodiscard]] std::shared_ptr<CorvaneSDK::Logger> logger() override { return logger_; }

  /// As those of `HostFaults`.
  void plan(std::size_t call, HostFault fault, HostFaults::Lasting lasting = HostFaults::Lasting::once);
  void mend();
  [[nodiscard]] std::vector<HostCall> calls() const;
  void clearCalls();

  /// As those of `FaultyNetwork`.
  std::size_t deliverLate();
  void dropHeld();

  /// How many handles to the host's facilities there are beside its own: of who was given them and has not
  /// let go.
  [[nodiscard]] std::size_t handlesOutside() const;

 private:
  const std::shared_ptr<HostFaults> faults_;
  const std::shared_ptr<FaultyNetwork> network_;
  const std::shared_ptr<FaultyCache> cache_;
  const std::shared_ptr<FaultyLogger> logger_;
};

}  // namespace vellora::testkit
