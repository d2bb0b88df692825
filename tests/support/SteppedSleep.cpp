#include "tests/support/SteppedSleep.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <iterator>
#include <limits>
#include <list>
#include <mutex>
#include <vector>

#include "vellora/Platform/Queues/Sleep.h"

namespace vellora {

namespace {

/// One thread that sleeps: on a condition, or in a poll.
struct Sleeper {
  Sleep::Moment until;
  std::condition_variable* condition = nullptr;
  std::mutex* mutex = nullptr;
  std::size_t number = 0;
};

using Sleepers = std::list<Sleeper>;

std::atomic<Sleep::Clock::duration> passed{std::chrono::hours(1)};

std::mutex noting;  // guards what follows
std::condition_variable noted;
Sleepers sleeping;
std::size_t lastNumber = 0;

Sleepers::iterator note(Sleeper sleeper) {
  const std::lock_guard lock(noting);
  sleeper.number = ++lastNumber;
  noted.notify_all();
  return sleeping.insert(sleeping.end(), sleeper);
}

void erase(Sleepers::iterator sleeper) {
  const std::lock_guard lock(noting);
  sleeping.erase(sleeper);
  noted.notify_all();
}

std::vector<Sleeper> sleepersUntil(Sleep::Moment moment) {
  const std::lock_guard lock(noting);
  std::vector<Sleeper> found;
  std::copy_if(sleeping.begin(), sleeping.end(), std::back_inserter(found),
               [&](const Sleeper& sleeper) { return sleeper.until <= moment; });
  return found;
}

void wake(const Sleeper& sleeper) {
  {
    const std::lock_guard lock(*sleeper.mutex);  // it has it until it sleeps
    sleeper.condition->notify_all();
  }
  std::unique_lock lock(noting);
  noted.wait(lock, [&] {
    return std::none_of(sleeping.begin(), sleeping.end(),
                        [&](const Sleeper& each) { return each.number == sleeper.number; });
  });
}

}  // namespace

Sleep::Moment Sleep::now() {
  return Moment(passed.load());
}

void Sleep::on(std::condition_variable& condition, std::unique_lock<std::mutex>& lock, Moment until) {
  const auto here = note({until, &condition, lock.mutex()});
  condition.wait(lock);
  erase(here);
}

void Sleep::in(const std::function<void(int milliseconds)>& poll, Moment until) {
  const auto here = note({until});
  poll(until > now() ? std::numeric_limits<int>::max() : 0);
  erase(here);
}

namespace tests {

std::size_t SteppedSleep::pass(std::chrono::seconds time) {
  passed = passed.load() + time;
  const auto due = sleepersUntil(Sleep::now());
  for (const Sleeper& sleeper : due) {
    if (sleeper.condition != nullptr) wake(sleeper);
  }
  return due.size();
}

void SteppedSleep::waitForSleepers(std::size_t count) {
  std::unique_lock lock(noting);
  noted.wait(lock, [&] { return sleeping.size() >= count; });
}

std::size_t SteppedSleep::untimedSleepers() {
  const std::lock_guard lock(noting);
  return static_cast<std::size_t>(std::count_if(
      sleeping.begin(), sleeping.end(), [](const Sleeper& each) { return each.until == Sleep::never; }));
}

}  // namespace tests
}  // namespace vellora
