#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "testkit/ManualQueue.h"
#include "testkit/ManualTimer.h"
#include "tests/simulation/releases/Case.h"
#include "tests/simulation/releases/Facilities.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"
#include "vellora/Host/PlatformAPI.h"

namespace vellora::releases {

/// The library and a whole world around it on one thread, in an order that is always the same, so that what
/// is released can be released at every moment in turn. A moment is the end of a step: of a piece of work of
/// a queue, of a network event, of an alarm, of a call of the app. So is each call to the host, since another
/// thread may release something while that runs.
///
/// An operation sets `owner` and `token`, and calls `answered` where it is answered.
class Stage {
 public:
  static constexpr double cacheTimeout = 3600;

  Stage(Case tried, bool isTraced);

  // For operations.
  [[nodiscard]] const std::shared_ptr<CorvaneSDK::PlatformAPI>& host() const { return host_; }
  [[nodiscard]] const std::shared_ptr<testkit::ManualQueue>& answersOn() const { return answersOn_; }
  [[nodiscard]] const std::shared_ptr<testkit::ManualTimer>& timer() const { return timer_; }
  void answered(const std::string& what);
  std::shared_ptr<void> owner;  ///< the façade, service or catalogue that is asked
  std::shared_ptr<void> token;  ///< gives the question up when it is dropped

  /// Runs `act`, which calls the library, as a step.
  void call(const std::function<void()>& act);

  /// Takes steps until nothing is left to do; calls `midway` after the third of them, or the last.
  void settle(const std::function<void()>& midway);

  /// From here on moments are counted, things are released, and what happens is noted.
  void begin() { isBegun_ = true; }

  /// Lets go of all that is left, and says what is alive although it should not be; empty: nothing.
  [[nodiscard]] std::string end();

  // What has happened since `begin`.
  [[nodiscard]] const std::vector<std::string>& trace() const { return trace_; }
  [[nodiscard]] std::size_t moments() const { return moments_; }
  [[nodiscard]] std::size_t answers() const { return answers_; }

  /// Whether anything was there to be released.
  [[nodiscard]] bool hasReleased() const { return finished_ != 0; }

  /// What has happened since the step was over in which `thing` was released; nothing where it was not.
  [[nodiscard]] std::vector<std::string> traceAfter(Thing thing) const;

  tests::TestClock clock;

 private:
  void note(const std::string& line);
  void moment();
  void release(Thing thing);
  bool takeStep();
  bool answerOne();
  void finishStep();

  /// Notes a call of the host, and that it is a moment.
  [[nodiscard]] OnCall teller();

  const Case tried_;
  const bool isTraced_;
  const std::shared_ptr<const bool> isThere_ = std::make_shared<const bool>(true);
  tests::ManualQueues queues_;

  // The host's own handles; what the library still needs outlives them.
  std::shared_ptr<HeldNetwork> network_;
  std::shared_ptr<CorvaneSDK::Cache> cache_;
  std::shared_ptr<CorvaneSDK::Logger> logger_;
  std::shared_ptr<CorvaneSDK::PlatformAPI> host_;
  std::shared_ptr<testkit::ManualQueue> answersOn_ = std::make_shared<testkit::ManualQueue>();
  std::shared_ptr<testkit::ManualTimer> timer_ = std::make_shared<testkit::ManualTimer>();
  const std::weak_ptr<HeldNetwork> wire_;
  const std::weak_ptr<testkit::ManualQueue> answersLeft_ = answersOn_;
  const std::weak_ptr<testkit::ManualTimer> timerLeft_ = timer_;
  const std::vector<std::pair<std::string, std::weak_ptr<void>>> facilities_;

  bool isBegun_ = false;
  std::size_t moments_ = 0;
  std::size_t answers_ = 0;
  std::vector<std::string> trace_;
  std::vector<std::pair<Thing, std::size_t>> released_;  // and how long the trace was when its step was over
  std::size_t finished_ = 0;                             // how many of them have that length
};

}  // namespace vellora::releases
