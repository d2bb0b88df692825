#include "bench/fleet/Fleet.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "hostkit/SpreadTimeout.h"
#include "hostkit/cache/redis/LeasingNetwork.h"
#include "hostkit/network/ServerPause.h"

namespace vellora::fleet {

namespace {

using Seconds = hostkit::ServerPause::Seconds;
using Moment = hostkit::ServerPause::Clock::time_point;

constexpr int unavailable = 503;
constexpr int ok = 200;

/// How long the answer that one machine got is given to the others that share a cache.
double sharedFor() {
  return Seconds(hostkit::LeasingNetwork::Options().answer).count();
}

Moment momentOf(double time) {
  return Moment(std::chrono::round<Moment::duration>(Seconds(time)));
}

}  // namespace

Fleet::Fleet(Scenario scenario, Costs costs, OnStart onStart)
    : scenario_(std::move(scenario)),
      costs_(costs),
      onStart_(std::move(onStart)),
      starts_(scenario_.usage),
      weight_(std::max(1.0, scenario_.apps / scenario_.mostAgents)),
      offset_(scenario_.daysBefore * secondsOfDay),
      random_(scenario_.seed),
      server_(scenario_.capacity, scenario_.outage, costs_.refused),
      events_(static_cast<std::size_t>(offset_ + secondsOfDay)) {
  scenario_.retry.jitter = [this] { return random_.share(); };
}

const Day& Fleet::run() {
  populate();
  while (const auto event = events_.next()) happen(*event, event->time - offset_);
  return server_.day();
}

// Who there is

void Fleet::populate() {
  const double machines = scenario_.apps * scenario_.shareOfMachines;
  addAgents(scenario_.apps - machines, false);
  addAgents(machines, true);
  if (scenario_.release) add(*scenario_.release, {.kind = Event::Kind::release});
}

void Fleet::addAgents(double apps, bool areMachines) {
  const auto first = static_cast<std::uint32_t>(agents_.size());
  const auto end = first + static_cast<std::uint32_t>(std::llround(apps / weight_));
  const auto sharing =
      areMachines && scenario_.manners.shares ? static_cast<std::uint32_t>(scenario_.machinesPerService) : 1;
  for (auto number = first; number < end; ++number) {
    Agent agent;
    agent.isMachine = areMachines;
    agent.firstOfCache = number - (number - first) % sharing;
    agent.endOfCache = std::min(agent.firstOfCache + sharing, end);
    if (scenario_.beginsFilled) fillAtRandom(agent);
    if (number > agent.firstOfCache) agent.takeCacheOf(agents_[agent.firstOfCache]);
    agents_.push_back(agent);
    const double start = areMachines ? random_.share() - offset_ : starts_.after(-offset_, random_);
    add(start, {.agent = number, .kind = Event::Kind::start});
  }
}

/// Both lists were fetched at once, at some moment within the time-out, and kept within the time for that.
void Fleet::fillAtRandom(Agent& agent) {
  const double fetched = -offset_ - random_.share() * scenario_.timeout;
  const double came = fetched - random_.share() * Agent::keptFor;
  for (auto& list : agent.lists) {
    list.fetched = fetched;
    list.came = came;
  }
}

void Fleet::add(double time, Event event) {
  event.time = time + offset_;
  events_.add(event);
}

// What happens

void Fleet::happen(const Event& event, double time) {
  const auto& agent = agents_[event.agent];
  switch (event.kind) {
    case Event::Kind::start:
      return start(event.agent, time);
    case Event::Kind::question:
      if (agent.question == event.stamp) ask(event.agent, time);
      return;
    case Event::Kind::answer:
      return take(event, time);
    case Event::Kind::retry:
      if (agent.run == event.stamp) attempt(event.agent, event.list, time);
      return;
    case Event::Kind::release:
      return release(time);
    case Event::Kind::restart:
      if (agent.run == event.stamp && agent.runsAt(time)) beginRun(event.agent, time);
      return;
  }
}

void Fleet::start(std::uint32_t number, double time) {
  auto& agent = agents_[number];
  if (agent.isMachine) {
    agent.end = std::numeric_limits<double>::infinity();
  } else {
    agent.end = time + scenario_.usage.shortestRun + random_.wait(scenario_.usage.meanRun);
    add(starts_.after(agent.end, random_), {.agent = number, .kind = Event::Kind::start});
  }
  beginRun(number, time);
}

void Fleet::beginRun(std::uint32_t number, double time) {
  auto& agent = agents_[number];
  if (onStart_) onStart_(time, number);
  ++agent.run;
  ++agent.question;
  for (auto& list : agent.lists) list.end();
  agent.pause = {};
  const auto timeout = Seconds(scenario_.timeout);
  agent.timeout = scenario_.manners.spread
                      ? hostkit::spreadTimeout(timeout, 0.1, [this] { return random_.share(); }).count()
                      : timeout.count();
  if (scenario_.release && time >= *scenario_.release && !agent.isUpdated) update(agent);
  ask(number, time);
}

/// The new version has a cache of its own, which is empty unless another machine has filled it.
void Fleet::update(Agent& agent) {
  agent.empty();
  for (auto other = agent.firstOfCache; other < agent.endOfCache; ++other)
    if (agents_[other].isUpdated) agent.takeCacheOf(agents_[other]);
  agent.isUpdated = true;
}

/// Running apps restart within some minutes; any other has the new version when it next starts.
void Fleet::release(double time) {
  for (std::uint32_t number = 0; number < agents_.size(); ++number) {
    const auto& agent = agents_[number];
    if (!agent.runsAt(time)) continue;
    add(time + random_.share() * scenario_.takingUp,
        {.agent = number, .stamp = agent.run, .kind = Event::Kind::restart});
  }
}

// What an app does

void Fleet::ask(std::uint32_t number, double time) {
  auto& agent = agents_[number];
  for (std::uint8_t which = 0; which < listCount; ++which) {
    auto& list = agent.lists[which];
    if (list.isUnderWay() || !agent.isExpired(list, time)) continue;
    list.begun = time;
    attempt(number, which, time);
  }
  awaitQuestion(number, time);
}

/// A list that is under way says by itself when the next question matters.
void Fleet::awaitQuestion(std::uint32_t number, double time) {
  auto& agent = agents_[number];
  double due = std::numeric_limits<double>::infinity();
  for (const auto& list : agent.lists)
    if (!list.isUnderWay()) due = std::min(due, std::max(time, list.fetched + agent.timeout));
  ++agent.question;
  const double asked = due + random_.wait(meanGapOf(agent));
  if (agent.runsAt(asked))
    add(asked, {.agent = number, .stamp = agent.question, .kind = Event::Kind::question});
}

double Fleet::meanGapOf(const Agent& agent) const {
  return agent.isMachine ? scenario_.meanGapOfMachines : scenario_.usage.meanGap;
}

void Fleet::attempt(std::uint32_t number, std::uint8_t which, double time) {
  auto& agent = agents_[number];
  auto& list = agent.lists[which];
  ++list.attempt;
  if (!agent.runsAt(time)) return list.end();  // nobody is there to send it
  if (!scenario_.manners.shares || time - list.fetched > sharedFor()) return send(number, which, time);
  list.end();  // another machine's answer is still there
  awaitQuestion(number, time);
}

void Fleet::send(std::uint32_t number, std::uint8_t which, double time) {
  auto& agent = agents_[number];
  auto& list = agent.lists[which];
  list.waits = isAwaitedByAny(number, which);
  if (list.waits) return;
  if (const auto refusal = agent.pause.refusalAt(momentOf(time)))
    return tryAgain(number, which, time, refusal->left.count());
  ++sent_;
  list.isSent = true;
  list.sent = time;
  const auto answer = server_.take(time, costOf(list, which, time), weight_);
  add(answer.time, {.agent = number,
                    .stamp = agent.run,
                    .kind = Event::Kind::answer,
                    .list = which,
                    .isRefused = answer.isRefused});
}

/// Whether a machine that shares the cache of this one, in the same version, has sent a request for the list.
bool Fleet::isAwaitedByAny(std::uint32_t number, std::uint8_t which) const {
  const auto& agent = agents_[number];
  for (auto other = agent.firstOfCache; other < agent.endOfCache; ++other)
    if (agents_[other].lists[which].isSent && agents_[other].isUpdated == agent.isUpdated) return true;
  return false;
}

const Cost& Fleet::costOf(const Agent::List& list, std::uint8_t which, double time) const {
  if (scenario_.manners.conditional && list.isKept(time)) return costs_.unchanged.at(which);
  return scenario_.manners.packed ? costs_.packed.at(which) : costs_.lists.at(which);
}

void Fleet::take(const Event& answer, double time) {
  ++answered_;
  auto& agent = agents_[answer.agent];
  if (agent.run != answer.stamp || !agent.runsAt(time)) {
    // Who had asked is gone; those who wait with it are not.
  } else if (answer.isRefused) {
    refuse(answer.agent, answer.list, time);
  } else {
    keep(answer.agent, answer.list, time);
  }
  letOthersSend(agent, answer.list, time);
}

/// The list is in the cache now, for all that share it.
void Fleet::keep(std::uint32_t number, std::uint8_t which, double time) {
  const auto& agent = agents_[number];
  const auto& list = agent.lists[which];
  agents_[number].pause.note(ok, std::nullopt, momentOf(list.sent), momentOf(time));
  const double came = scenario_.manners.conditional && list.isKept(list.sent) ? list.came : time;
  for (auto other = agent.firstOfCache; other < agent.endOfCache; ++other) {
    if (agents_[other].isUpdated != agent.isUpdated) continue;
    auto& shared = agents_[other].lists[which];
    const bool isEnd = shared.isSent || shared.waits;
    shared.fetched = time;
    shared.came = came;
    if (!isEnd) continue;
    shared.end();
    awaitQuestion(other, time);
  }
}

void Fleet::refuse(std::uint32_t number, std::uint8_t which, double time) {
  auto& agent = agents_[number];
  auto& list = agent.lists[which];
  list.isSent = false;
  const auto asked = scenario_.retryAfter > 0 ? std::optional(Seconds(scenario_.retryAfter)) : std::nullopt;
  if (scenario_.manners.backsOff) agent.pause.note(unavailable, asked, momentOf(list.sent), momentOf(time));
  tryAgain(number, which, time, scenario_.retryAfter);
}

/// A machine that got no list for the others makes way for the next of them.
void Fleet::letOthersSend(const Agent& agent, std::uint8_t which, double time) {
  for (auto other = agent.firstOfCache; other < agent.endOfCache; ++other)
    if (agents_[other].lists[which].waits) send(other, which, time);
}

/// As a `Catalog` does: behind what was asked for and a pause, unless the question is over by then.
void Fleet::tryAgain(std::uint32_t number, std::uint8_t which, double time, double asked) {
  auto& list = agents_[number].lists[which];
  const double again = time + asked + scenario_.retry.pauseAfter(list.attempt).count();
  if (list.attempt < scenario_.retry.attempts && again < list.begun + scenario_.patience) {
    add(again, {.agent = number, .stamp = agents_[number].run, .kind = Event::Kind::retry, .list = which});
  } else {
    list.end();
    awaitQuestion(number, time);
  }
}

}  // namespace vellora::fleet
