#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "testkit/FaultyHost.h"
#include "testkit/ManualQueue.h"
#include "testkit/ManualTimer.h"
#include "tests/faults/CacheImage.h"
#include "tests/faults/Deliveries.h"
#include "tests/faults/SmallServer.h"
#include "tests/support/ManualQueues.h"
#include "vellora/Host/RequiredAPI.h"

namespace vellora::faults {

class FaultRun;

/// Something that the library can be asked.
struct Operation {
  using Service = std::shared_ptr<void>;  ///< whatever must live until the answer

  std::string name;
  /// Makes the service on the host of the run, if there is none yet, and asks it; what it answers goes to the
  /// run's `deliver`.
  std::function<Service(FaultRun& run, const Service& service)> ask;
  bool runsHostQueue = false;   ///< what runs there belongs to it: the prefetch, the answers of a catalogue
  bool isQuestion = false;      ///< of a catalogue: it is answered once, whatever the host does
  bool leavesToItself = false;  ///< leaves in a warm cache what no other operation does
};

/// One run of an operation on one thread, with a host of its own. Nothing happens but what it is told to do.
class FaultRun {
 public:
  FaultRun(tests::ManualQueues& queues, std::shared_ptr<CorvaneSDK::Cache> cache,
           const CacheImage* anothers = nullptr);
  ~FaultRun();
  FaultRun(const FaultRun&) = delete;
  FaultRun& operator=(const FaultRun&) = delete;

  testkit::FaultyHost& host() { return *host_; }
  [[nodiscard]] std::shared_ptr<testkit::FaultyHost> platform() const { return host_; }
  [[nodiscard]] RequiredAPI api() const { return {host_->network(), host_->cache(), host_->logger()}; }
  [[nodiscard]] std::shared_ptr<DispatchQueue> hostQueue() const { return hostQueue_; }
  [[nodiscard]] std::shared_ptr<TimedQueue> timer() const { return timer_; }

  /// Asks, runs queues, network and timer until they are empty, and returns what was delivered meanwhile.
  Deliveries perform(const Operation& operation);

  /// Lets go of the service, and runs queues, network and timer until they are empty.
  void release();

  /// What is still alive that should not be, in words; empty when nothing is. Call it after `release`.
  [[nodiscard]] std::vector<std::string> leftovers();

  /// What a completion hands its delivery to. Each holds a handle to a token, by which `leftovers` finds
  /// those that are still alive.
  [[nodiscard]] std::function<void(Delivery)> deliver();

 private:
  void settle(bool runsHostQueue);

  tests::ManualQueues& queues_;
  const std::shared_ptr<SmallServer> server_ = std::make_shared<SmallServer>();
  const std::shared_ptr<testkit::FaultyHost> host_;
  const std::shared_ptr<testkit::ManualQueue> hostQueue_ = std::make_shared<testkit::ManualQueue>();
  const std::shared_ptr<testkit::ManualTimer> timer_ = std::make_shared<testkit::ManualTimer>();
  std::size_t alarmsLeft_ = 0;
  std::shared_ptr<Deliveries> deliveries_ = std::make_shared<Deliveries>();
  std::shared_ptr<int> completionToken_ = std::make_shared<int>(0);
  Operation::Service service_;
};

}  // namespace vellora::faults
