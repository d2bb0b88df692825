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

struct Bedroom {
  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  Sleepers sleepers;
  std::size_t lastNumber = 0;
};

Bedroom& bedroom() {
  // Never destroyed: threads sleep, and wake, while the process ends.
  static auto* const room = new Bedroom();  // NOLINT(cppcoreguidelines-owning-memory)
  return *room;
}

Sleepers::iterator note(Sleeper sleeper) {
  Bedroom& room = bedroom();
  const std::lock_guard lock(room.mutex);
  sleeper.number = ++room.lastNumber;
  room.changed.notify_all();
  return room.sleepers.insert(room.sleepers.end(), sleeper);
}

void erase(Sleepers::iterator sleeper) {
  Bedroom& room = bedroom();
  const std::lock_guard lock(room.mutex);
  room.sleepers.erase(sleeper);
  room.changed.notify_all();
}

std::vector<Sleeper> sleepersUntil(Sleep::Moment moment) {
  Bedroom& room = bedroom();
  const std::lock_guard lock(room.mutex);
  std::vector<Sleeper> found;
  std::copy_if(room.sleepers.begin(), room.sleepers.end(), std::back_inserter(found),
               [&](const Sleeper& sleeper) { return sleeper.until <= moment; });
  return found;
}

bool isAsleep(const Bedroom& room, const Sleeper& sleeper) {
  return std::any_of(room.sleepers.begin(), room.sleepers.end(),
                     [&](const Sleeper& each) { return each.number == sleeper.number; });
}

void wake(const Sleeper& sleeper) {
  Bedroom& room = bedroom();
  {
    const std::lock_guard itsOwn(*sleeper.mutex);  // it has it until it sleeps
    const std::lock_guard lock(room.mutex);
    if (!isAsleep(room, sleeper)) return;  // who woke it may have let its condition go
    sleeper.condition->notify_all();
  }
  std::unique_lock lock(room.mutex);
  room.changed.wait(lock, [&] { return !isAsleep(room, sleeper); });
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

std::size_t SteppedSleep::wakeUpsOfAnHour(std::size_t sleepers) {
  std::size_t wakeUps = 0;
  for (int minute = 0; minute < 60; ++minute) {
    waitForSleepers(sleepers);
    wakeUps += pass(std::chrono::minutes(1));
  }
  return wakeUps;
}

std::size_t SteppedSleep::sleeps() {
  Bedroom& room = bedroom();
  const std::lock_guard lock(room.mutex);
  return room.lastNumber;
}

void SteppedSleep::waitForSleepers(std::size_t count) {
  Bedroom& room = bedroom();
  std::unique_lock lock(room.mutex);
  room.changed.wait(lock, [&] { return room.sleepers.size() >= count; });
}

std::size_t SteppedSleep::untimedSleepers() {
  Bedroom& room = bedroom();
  const std::lock_guard lock(room.mutex);
  return static_cast<std::size_t>(
      std::count_if(room.sleepers.begin(), room.sleepers.end(),
                    [](const Sleeper& each) { return each.until == Sleep::never; }));
}

}  // namespace tests
}  // namespace vellora
