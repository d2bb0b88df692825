#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "bench/fleet/Agent.h"
#include "bench/fleet/Costs.h"
#include "bench/fleet/Event.h"
#include "bench/fleet/EventQueue.h"
#include "bench/fleet/Random.h"
#include "bench/fleet/Scenario.h"
#include "bench/fleet/Server.h"
#include "bench/fleet/Usage.h"

namespace vellora::fleet {

/// A fleet of apps over one day, event by event: when they start, when they ask, what they fetch.
///
/// An app fetches as a `Catalog` does: both lists at its start and at a question, those that are older than
/// the time-out and not under way; each up to four times, with pauses, as long as the question lasts. Pauses
/// and spread time-outs are the library's and the ready-made host's own.
///
/// Of machines that share a cache one asks for a list at a time. What it gets is there for all of them; what
/// fails is asked for by the next that wants it.
///
/// A question that finds both lists fresh costs the server nothing, and is not made an event: as questions
/// come at any moment as likely as at any other, the next one that matters is as far behind the moment of
/// expiry as any question is behind the one before.
///
/// Ownership: owns all of it.
///
/// Threads: one at a time. The same scenario gives the same day.
///
/// Units: seconds since the midnight of the day that counts.
class Fleet {
 public:
  /// Told of each start, and each restart with a new version, with the number of the agent.
  using OnStart = std::function<void(double time, std::size_t agent)>;

  Fleet(Scenario scenario, Costs costs, OnStart onStart = {});
  Fleet(const Fleet&) = delete;
  Fleet& operator=(const Fleet&) = delete;

  /// Lets the day pass. Called once.
  const Day& run();

  /// How many apps each agent stands for.
  [[nodiscard]] double weight() const { return weight_; }

  /// How many requests were sent and how many answers came, days before included. What was sent shortly
  /// before midnight is answered behind it, and never counts.
  [[nodiscard]] std::uint64_t sent() const { return sent_; }
  [[nodiscard]] std::uint64_t answered() const { return answered_; }

 private:
  void populate();
  void addAgents(double apps, bool areMachines);
  void fillAtRandom(Agent& agent);
  void add(double time, Event event);
  void happen(const Event& event, double time);
  void start(std::uint32_t number, double time);
  void beginRun(std::uint32_t number, double time);
  void update(Agent& agent);
  void release(double time);
  void ask(std::uint32_t number, double time);
  void awaitQuestion(std::uint32_t number, double time);
  void attempt(std::uint32_t number, std::uint8_t which, double time);
  void send(std::uint32_t number, std::uint8_t which, double time);
  [[nodiscard]] bool isAwaitedByAny(std::uint32_t number, std::uint8_t which) const;
  [[nodiscard]] const Cost& costOf(const Agent::List& list, std::uint8_t which, double time) const;
  void take(const Event& answer, double time);
  void keep(std::uint32_t number, std::uint8_t which, double time);
  void refuse(std::uint32_t number, std::uint8_t which, double time);
  void letOthersSend(const Agent& agent, std::uint8_t which, double time);
  void tryAgain(std::uint32_t number, std::uint8_t which, double time, double asked);
  [[nodiscard]] double meanGapOf(const Agent& agent) const;

  // Constant after construction.
  Scenario scenario_;  // but for the jitter, which the constructor sets
  const Costs costs_;
  const OnStart onStart_;
  const Starts starts_;
  const double weight_;
  const double offset_;  // from the queue's beginning to the midnight of the day that counts

  Random random_;
  Server server_;
  EventQueue events_;
  std::vector<Agent> agents_;
  std::uint64_t sent_ = 0;
  std::uint64_t answered_ = 0;
};

}  // namespace vellora::fleet
