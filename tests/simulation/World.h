#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/simulation/Cause.h"
#include "tests/simulation/Draw.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"
#include "vellora/Host/Network.h"

namespace vellora::simulation {

/// What may go wrong in a run; drawn from its seed. Each number is the n of "once in n times", 0 for never.
struct Hazards {
  std::size_t faultyAnswer = 0;
  std::size_t droppedRequest = 0;  ///< the network forgets the completion
  std::size_t immediateAnswer = 0;
  std::size_t repeatedAnswer = 0;  ///< the network calls the completion once more, at some later time
  std::size_t faultyRead = 0;
  std::size_t refusedWrite = 0;
  std::size_t clockJump = 0;
  std::size_t release = 0;
};

/// All that a run is made of besides the library: chance, time, queues, the server, the network's pending
/// requests, and what is the cause of what happens right now. One thread; one world at a time.
class World {
 public:
  static constexpr double timeout = 3600;

  World(std::uint64_t seed, bool traced);
  ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  /// Notes a breach of the contract. The first one is kept and ends the run.
  void breach(const std::string& text);
  void expect(bool holds, const std::string& text) {
    if (!holds) breach(text);
  }
  [[nodiscard]] const std::optional<std::string>& firstBreach() const { return breach_; }

  void trace(const std::string& text) const;
  [[nodiscard]] bool traced() const { return traced_; }

  /// Makes a cause, which is remembered until the end of the run.
  CausePtr newCause(Cause::Kind kind, std::vector<std::string> keys = {});
  [[nodiscard]] const std::vector<CausePtr>& causes() const { return causes_; }

  [[nodiscard]] Cause& cause() const { return *current_; }
  [[nodiscard]] const CausePtr& causePtr() const { return current_; }

  /// What follows within the running piece of work belongs to `cause`.
  void switchCause(CausePtr cause) { current_ = std::move(cause); }

  /// Calls `act` on behalf of `cause`.
  void during(const CausePtr& cause, const std::function<void()>& act);

  // The network.
  void send(const CorvaneSDK::NetRequest& request, CorvaneSDK::Network::Completion completion);
  [[nodiscard]] std::size_t pendingRequests() const { return pending_.size(); }
  void answer(std::size_t place);

  // The answers that come once more.
  [[nodiscard]] std::size_t pendingRepeats() const { return repeats_.size(); }
  void repeat(std::size_t place);

  /// Drops all that is under way, after a breach.
  void abandon();

  /// Moves the clock: on, back, beyond the time-out, or to its very edge.
  void jump();

  Draw draw;
  Hazards hazards;
  tests::TestClock clock;
  tests::ManualQueues queues;
  int revision = 0;  ///< of the server's data

  /// Told when a request for name fields is sent, before it may be answered.
  std::function<void(const CausePtr& cause)> onNameFieldsRequest;

 private:
  struct Pending {
    CausePtr cause;
    std::shared_ptr<SentRequest> request;
    std::string url;
    CorvaneSDK::Network::Completion completion;
  };

  void deliver(Pending pending);
  void answerWrongly(const Pending& pending, const CorvaneSDK::Network::Completion& completion);

  const bool traced_;
  std::optional<std::string> breach_;
  std::vector<CausePtr> causes_;
  CausePtr current_;
  std::vector<Pending> pending_;
  std::vector<Pending> repeats_;
};

}  // namespace vellora::simulation
