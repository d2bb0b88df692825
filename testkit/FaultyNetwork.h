#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "testkit/HostFaults.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A network whose requests fail as a `HostFaults` says; the others go to another network.
///
/// A wrong answer comes when the other network answers, in the place of its answer. A request that is
/// answered at once or never does not reach the other network.
///
/// Ownership: shares the other network and the faults. Owns the completions that it holds back. One that is
/// held when it is destroyed is never called, nor is one whose late answer comes after that.
///
/// Threads: safe to use from several threads at once, as far as the other network is. No lock is held while a
/// completion runs.
///
/// Errors: a `Failure` is the error of a planned failure.
class VELLORA_EXPORT FaultyNetwork final : public CorvaneSDK::Network {
 public:
  /// The error of a `networkError`, and of an `answeredAtOnce` that has no answer.
  struct Failure {
    [[nodiscard]] std::string localizedDescription() const { return "The network failed, as planned."; }
  };

  FaultyNetwork(std::shared_ptr<CorvaneSDK::Network> next, std::shared_ptr<HostFaults> faults);
  ~FaultyNetwork() override;
  FaultyNetwork(const FaultyNetwork&) = delete;
  FaultyNetwork& operator=(const FaultyNetwork&) = delete;

  /// Passes the request on, or does what the fault of this call says.
  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;

  /// Delivers what was `answeredLate` and has arrived so far, on this thread, and tells how many that were.
  std::size_t deliverLate();

  /// Lets go of every completion that is held back, without calling it: as a network that shuts down wrongly.
  void dropHeld();

 private:
  class Held;

  /// What the other network calls in the place of `completion`.
  [[nodiscard]] Completion withFault(HostFault fault, Completion completion) const;

  const std::shared_ptr<CorvaneSDK::Network> next_;
  const std::shared_ptr<HostFaults> faults_;
  const std::shared_ptr<Held> held_;
};

}  // namespace vellora::testkit
