#include "bench/fleet/Fleet.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace vellora::fleet {

namespace {

/// What a host that backs off leaves a server alone for: twice as long each time, shortened at random by up
/// to a half.
constexpr double firstQuiet = 2;
constexpr double longestQuiet = 300;
constexpr int mostDoublings = 8;

constexpr double spread = 0.1;

/// The pause of the library behind an attempt, before chance shortens it by up to a half.
double longestPauseAfter(int attempt) {
  return std::min(0.5 * std::exp2(attempt - 1), 8.0);
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
      events_(static_cast<std::size_t>(offset_ + secondsOfDay)) {}

const Day& Fleet::run() {
  populate();
  while (const auto event = events_.next()) happen(*event, event->time - offset_);
  return server_.day();
}

// Who there is

void Fleet::populate() {
  const double machines = scenario_.apps * scenario_.shareOfMachines;
  addAgents(scenario_.apps - machines, false);
  // Machines that share a cache are one agent that asks as often as all of them.
  addAgents(scenario_.manners.shares ? machines / scenario_.machinesPerService : machines, true);
  if (scenario_.release) add(*scenario_.release, {.kind = Event::Kind::release});
}

void Fleet::addAgents(double apps, bool areMachines) {
  const auto count = static_cast<std::size_t>(std::llround(apps / weight_));
  for (std::size_t i = 0; i < count; ++i) {
    Agent agent;
    agent.isMachine = areMachines;
    if (scenario_.beginsFilled) fillAtRandom(agent);
    agents_.push_back(agent);
    const double first = areMachines ? random_.share() - offset_ : starts_.after(-offset_, random_);
    add(first, {.agent = static_cast<std::uint32_t>(agents_.size() - 1), .kind = Event::Kind::start});
  }
}

/// Both lists were fetched at once, at some moment within the time-out.
void Fleet::fillAtRandom(Agent& agent) {
  const double fetched = -offset_ - random_.share() * scenario_.timeout;
  for (auto& list : agent.lists) {
    list.fetched = fetched;
    list.isKept = true;
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
      if (agent.run == event.stamp) send(event.agent, event.list, time);
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
  for (auto& list : agent.lists) list.attempt = 0;
  agent.quietUntil = Agent::never;
  agent.refusals = 0;
  const double factor = scenario_.manners.spread ? random_.between(1 - spread, 1 + spread) : 1;
  agent.timeout = scenario_.timeout * factor;
  if (scenario_.release && time >= *scenario_.release && !agent.isUpdated) {
    agent.empty();
    agent.isUpdated = true;
  }
  ask(number, time);
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
    send(number, which, time);
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
  if (!agent.isMachine) return scenario_.usage.meanGap;
  const double sharing = scenario_.manners.shares ? scenario_.machinesPerService : 1;
  return scenario_.meanGapOfMachines / sharing;
}

void Fleet::send(std::uint32_t number, std::uint8_t which, double time) {
  auto& agent = agents_[number];
  auto& list = agent.lists[which];
  ++list.attempt;
  if (!agent.runsAt(time)) {
    list.attempt = 0;  // nobody is there to send it
  } else if (scenario_.manners.backsOff && time < agent.quietUntil) {
    tryAgain(number, which, time);
  } else {
    ++sent_;
    const bool isConditional = scenario_.manners.conditional && list.isKept;
    const auto& cost = isConditional ? costs_.unchanged.at(which) : costs_.lists.at(which);
    const auto answer = server_.take(time, cost, weight_);
    add(answer.time, {.agent = number,
                      .stamp = agent.run,
                      .kind = Event::Kind::answer,
                      .list = which,
                      .isRefused = answer.isRefused});
  }
}

void Fleet::take(const Event& answer, double time) {
  ++answered_;
  auto& agent = agents_[answer.agent];
  if (agent.run != answer.stamp || !agent.runsAt(time)) return;  // who had asked is gone
  if (answer.isRefused) {
    backOff(agent, time);
    return tryAgain(answer.agent, answer.list, time);
  }
  agent.refusals = 0;
  auto& list = agent.lists[answer.list];
  list.attempt = 0;
  list.fetched = time;
  list.isKept = true;
  awaitQuestion(answer.agent, time);
}

/// The refusals of what went out together count as one.
void Fleet::backOff(Agent& agent, double time) {
  if (!scenario_.manners.backsOff || time < agent.quietUntil) return;
  const double quiet = std::min(firstQuiet * std::exp2(agent.refusals), longestQuiet);
  agent.refusals = static_cast<std::uint8_t>(std::min(agent.refusals + 1, mostDoublings));
  agent.quietUntil = time + std::max(scenario_.retryAfter, quiet * random_.between(0.5, 1));
}

/// As the library does: behind a pause, unless the question is over by then.
void Fleet::tryAgain(std::uint32_t number, std::uint8_t which, double time) {
  auto& agent = agents_[number];
  auto& list = agent.lists[which];
  const double asked = scenario_.manners.backsOff ? agent.quietUntil - time : scenario_.retryAfter;
  const double again =
      time + std::max(asked, 0.0) + longestPauseAfter(list.attempt) * random_.between(0.5, 1);
  if (list.attempt < scenario_.attempts && again < list.begun + scenario_.patience) {
    add(again, {.agent = number, .stamp = agent.run, .kind = Event::Kind::retry, .list = which});
  } else {
    list.attempt = 0;
    awaitQuestion(number, time);
  }
}

}  // namespace vellora::fleet
