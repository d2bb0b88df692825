#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "conformance/Guarantee.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::conformance {

/// What you tell the suite of the serial queue that you hand to the library. Each test makes one of these.
///
/// Ownership: the suite owns the host of a test, and shares the queues that it makes. In one test it lets go
/// of a queue whose work has not run.
///
/// Threads: used on the thread of the tests; the queues themselves are called from several.
class VELLORA_EXPORT QueueHost {
 public:
  virtual ~QueueHost() = default;

  /// A queue of its own at each call; the host keeps no handle to it.
  [[nodiscard]] virtual std::shared_ptr<DispatchQueue> make() = 0;

  /// For a queue that runs nothing by itself: runs what waits on it. Called over and over on the thread of
  /// the tests, which wait meanwhile.
  virtual void run(DispatchQueue& /*queue*/) {}

  /// False for a queue that needs `run`, and so drops its work with its last handle.
  [[nodiscard]] virtual bool runsByItself() const { return true; }

  /// How long work may keep the tests waiting before it counts as never run. Only a queue that loses work
  /// takes so long, so this is no measure of speed.
  [[nodiscard]] virtual std::chrono::milliseconds patience() const { return std::chrono::seconds(60); }

 protected:
  QueueHost() = default;
  QueueHost(const QueueHost&) = default;
  QueueHost& operator=(const QueueHost&) = default;
};

/// What the contract demands of a serial `DispatchQueue`.
[[nodiscard]] VELLORA_EXPORT std::span<const Guarantee<QueueHost>> queueGuarantees();

/// Adds to the program's tests one for each of these guarantees, called `suite.Guarantee`. Call it before
/// RUN_ALL_TESTS; `make` is called once in each test.
VELLORA_EXPORT void registerQueueConformance(const std::string& suite,
                                             const std::function<std::unique_ptr<QueueHost>()>& make);

}  // namespace vellora::conformance
