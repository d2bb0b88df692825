#include "tests/simulation/releases/Stage.h"

#include <algorithm>
#include <iostream>

#include "hostkit/StandardPlatformAPI.h"

namespace vellora::releases {

Stage::Stage(Case tried, bool isTraced)
    : tried_(std::move(tried)),
      isTraced_(isTraced),
      network_(std::make_shared<HeldNetwork>(tried_.wire, teller())),
      cache_(makeToldCache(teller())),
      logger_(makeToldLogger(teller())),
      host_(std::make_shared<hostkit::StandardPlatformAPI>(network_, cache_, logger_)),
      wire_(network_),
      facilities_{{"network", network_}, {"cache", cache_},         {"logger", logger_},
                  {"host", host_},       {"answersOn", answersOn_}, {"timer", timer_}} {}

OnCall Stage::teller() {
  return [this, there = std::weak_ptr(isThere_)](const std::string& call) {
    if (there.expired()) return;  // a faulty library may keep what the host lent it
    note(call);
    moment();
  };
}

void Stage::answered(const std::string& what) {
  ++answers_;
  note("answer " + what);
}

void Stage::note(const std::string& line) {
  if (!isBegun_) return;
  trace_.push_back(line);
  if (isTraced_) std::cout << line << '\n';
}

void Stage::moment() {
  if (!isBegun_) return;
  const std::size_t now = ++moments_;
  for (const auto& release : tried_.releases) {
    if (release.moment == now) this->release(release.thing);
  }
}

void Stage::release(Thing thing) {
  if (isTraced_ && isBegun_)
    std::cout << "release " << Words<Thing>::all.at(static_cast<std::size_t>(thing)) << '\n';
  if ((thing == Thing::owner || thing == Thing::everything) && !owner) return;
  if (thing == Thing::token && !token) return;
  const bool isAll = thing == Thing::everything;
  const bool isHandles = isAll || thing == Thing::handles;
  // Taken out first, since what goes may come back here.
  const auto owned = isAll || thing == Thing::owner ? std::move(owner) : nullptr;
  const auto given = isAll || thing == Thing::token ? std::move(token) : nullptr;
  if (isHandles || thing == Thing::network || thing == Thing::cache || thing == Thing::logger) host_.reset();
  if (isHandles || thing == Thing::network) network_.reset();
  if (isHandles || thing == Thing::cache) cache_.reset();
  if (isHandles || thing == Thing::logger) logger_.reset();
  if (isHandles || thing == Thing::answersOn) answersOn_.reset();
  if (isHandles || thing == Thing::timer) timer_.reset();
  released_.emplace_back(thing, trace_.size());
}

void Stage::call(const std::function<void()>& act) {
  act();
  finishStep();
}

void Stage::finishStep() {
  moment();
  for (; finished_ < released_.size(); ++finished_) released_[finished_].second = trace_.size();
}

bool Stage::takeStep() {
  if (tried_.wire == Wire::networkFirst && answerOne()) return true;
  if (const auto answers = answersLeft_.lock(); answers && answers->runNext()) return true;
  if (queues_.runNext()) return true;
  if (answerOne()) return true;
  const auto timer = timerLeft_.lock();
  return timer && timer->advanceToNext();
}

bool Stage::answerOne() {
  const auto network = wire_.lock();
  return network && network->answerOne();
}

void Stage::settle(const std::function<void()>& midway) {
  constexpr int first = 3;
  int steps = 0;
  while (takeStep()) {
    if (isTraced_ && isBegun_) std::cout << "-- a step has ended\n";
    finishStep();
    if (++steps == first) call(midway);
  }
  if (steps >= first) return;
  call(midway);
  while (takeStep()) finishStep();
}

std::vector<std::string> Stage::traceAfter(Thing thing) const {
  const auto found = std::find_if(released_.begin(), released_.end(),
                                  [thing](const auto& release) { return release.first == thing; });
  if (found == released_.end()) return {};
  return {trace_.begin() + static_cast<std::ptrdiff_t>(found->second), trace_.end()};
}

std::string Stage::end() {
  isBegun_ = false;
  token.reset();
  owner.reset();
  if (const auto network = wire_.lock()) network->failAll();
  while (takeStep()) continue;
  release(Thing::handles);
  std::string alive;
  for (const auto& [name, facility] : facilities_) {
    if (!facility.expired()) alive += ' ' + name;
  }
  if (queues_.pending() != 0) alive += " work of a queue";
  return alive;
}

}  // namespace vellora::releases
