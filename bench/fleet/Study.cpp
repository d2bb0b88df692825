#include "bench/fleet/Study.h"

#include <ostream>
#include <utility>

#include "bench/fleet/Figure.h"

namespace vellora::fleet {

namespace {

constexpr double headroom = 1.5;
constexpr double advisedWait = 60;
constexpr double week = 7 * secondsOfDay;

/// Each name with what it switches on. The last is no manner of the apps, but what the server says.
const std::vector<std::pair<std::string, Manners>>& named() {
  static const std::vector<std::pair<std::string, Manners>> all{
      {"none", {}},
      {"conditional", {.conditional = true}},
      {"spread", {.spread = true}},
      {"backing off", {.backsOff = true}},
      {"shared cache", {.shares = true}},
      {"all four", {true, true, true, true}},
      {"packed", {.packed = true}},
      {"all four, packed", {true, true, true, true, true}},
      {"Retry-After", {}}};
  return all;
}

}  // namespace

std::string nameOf(Study::Course course) {
  switch (course) {
    case Study::Course::ordinary:
      return "ordinary";
    case Study::Course::release:
      return "release";
    case Study::Course::outage:
      return "outage";
    case Study::Course::weekLater:
      return "a week later";
  }
  return {};
}

Study::Study(Costs costs, std::uint64_t seed, std::ostream& progress, double mostAgents)
    : costs_(costs), seed_(seed), mostAgents_(mostAgents), progress_(progress) {}

const std::vector<std::string>& Study::allManners() {
  static const auto names = [] {
    std::vector<std::string> found;
    for (const auto& [name, manners] : named()) found.push_back(name);
    return found;
  }();
  return names;
}

const Outcome& Study::outcome(const Variant& variant) {
  const auto known = outcomes_.find(variant);
  if (known != outcomes_.end()) return known->second;
  const auto wanted = scenario(variant);
  progress_ << nameOf(variant.course) << " day, " << figure(variant.apps) << " apps, time-out of "
            << variant.timeout / secondsOfHour << " h, " << variant.manners
            << (variant.isLimited ? ", limited" : "") << std::endl;
  return outcomes_.emplace(variant, Outcome::of(wanted, costs_)).first->second;
}

Scenario Study::scenario(const Variant& variant) {
  Scenario scenario{
      .apps = variant.apps, .mostAgents = mostAgents_, .timeout = variant.timeout, .seed = seed_};
  for (const auto& [name, manners] : named())
    if (name == variant.manners) scenario.manners = manners;
  if (variant.manners == "Retry-After") scenario.retryAfter = advisedWait;
  if (variant.course == Course::release) scenario.release = releaseAt;
  if (variant.course == Course::outage) scenario.outage = outage;
  if (variant.course == Course::weekLater) {
    scenario.release = releaseAt - week;
    scenario.daysBefore = 8;
  }
  if (variant.isLimited) scenario.capacity = limit(variant.apps, variant.timeout);
  return scenario;
}

Capacity Study::limit(double apps, double timeout) {
  const auto& ordinary = outcome({.apps = apps, .timeout = timeout});
  return {ordinary.mostProcessor() * headroom, ordinary.mostBytes() * headroom};
}

}  // namespace vellora::fleet
