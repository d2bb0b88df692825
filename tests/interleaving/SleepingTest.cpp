#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "tests/interleaving/ConditionVariable.h"
#include "tests/interleaving/Explorer.h"
#include "tests/interleaving/Mutex.h"
#include "tests/interleaving/Plain.h"
#include "tests/interleaving/Run.h"
#include "tests/interleaving/Thread.h"
#include "tests/interleaving/ThreadLocal.h"

namespace vellora::tests::interleaving {
namespace {

using namespace std::chrono_literals;

constexpr Limits noPreemptions{0, 0};

std::string failureOf(const std::function<void()>& scenario, const Limits& limits = {2, 0}) {
  const auto explored = explore(scenario, limits);
  return explored.failure ? explored.failure->what : "none";
}

Run::Moment now() {
  return Run::current()->now();
}

/// Where threads of a run sleep.
struct Bed {
  Mutex mutex;
  ConditionVariable call;
  bool isCalled = false;  // under the mutex

  void sleep(Run::Moment until) {
    std::unique_lock lock(mutex);
    while (!isCalled && now() < until) this->call.sleep(lock, until);
  }
  void wake() {
    const std::lock_guard lock(mutex);
    isCalled = true;
    call.notify_one();
  }
};

/// A thread that sleeps for five seconds, and one that wakes it. Notes how much time has passed then.
std::function<void()> sleeperAndCaller(std::set<std::chrono::seconds>& passed) {
  return [&passed] {
    Bed bed;
    const auto begin = now();
    atOnce({[&] { bed.sleep(begin + 5s); }, [&] { bed.wake(); }});
    passed.insert(std::chrono::duration_cast<std::chrono::seconds>(now() - begin));
  };
}

TEST(SleepingTest, AThreadIsWokenByACallOrByTimeWhicheverComesFirst) {
  std::set<std::chrono::seconds> passed;
  EXPECT_EQ(failureOf(sleeperAndCaller(passed)), "none");
  EXPECT_EQ(passed, (std::set<std::chrono::seconds>{0s, 5s}));
}

TEST(SleepingTest, TimePassesWithoutPreemptionsOnlyWhereNobodyElseCanGoOn) {
  std::set<std::chrono::seconds> passed;
  EXPECT_EQ(failureOf(sleeperAndCaller(passed), noPreemptions), "none");
  EXPECT_EQ(passed, (std::set<std::chrono::seconds>{0s}));
  EXPECT_EQ(failureOf(
                [] {
                  Bed bed;
                  const auto begin = now();
                  bed.sleep(begin + 5s);
                  expect(now() == begin + 5s, "five seconds have passed");
                },
                noPreemptions),
            "none");
}

TEST(SleepingTest, OfTwoThatSleepEitherMayWakeFirstAndTimeDoesNotGoBack) {
  std::set<std::string> orders;
  EXPECT_EQ(failureOf(
                [&orders] {
                  Bed bed;
                  std::string order;
                  const auto begin = now();
                  const auto sleep = [&](std::chrono::seconds time, char name) {
                    bed.sleep(begin + time);
                    expect(now() >= begin + time, "its time has come");
                    order += name;
                  };
                  atOnce({[&] { sleep(5s, 'a'); }, [&] { sleep(10s, 'b'); }});
                  expect(now() == begin + 10s, "ten seconds have passed");
                  orders.insert(order);
                },
                noPreemptions),
            "none");
  EXPECT_EQ(orders, (std::set<std::string>{"ab", "ba"}));
}

TEST(SleepingTest, AThreadThatSleepsForEverIsUnwoundAtTheEnd) {
  const auto held = std::make_shared<int>(0);
  EXPECT_EQ(failureOf([held] {
              const auto bed = std::make_shared<Bed>();
              for (int thread = 0; thread < 2; ++thread) {
                Thread([held, bed] {
                  bed->sleep(Run::never);
                  expect(false, "it goes on");
                }).detach();
              }
            }),
            "none");
  EXPECT_EQ(held.use_count(), 1);
}

TEST(SleepingTest, WhoWaitsForOneThatSleepsForEverIsInADeadlock) {
  EXPECT_EQ(failureOf([] {
              Bed bed;
              atOnce({[&] { bed.sleep(Run::never); }});
            }),
            "deadlock: thread 0 waits for the end of others; thread 1 waits for a condition variable");
}

TEST(SleepingTest, ACallThatIsLostShowsWhenAllRest) {
  const auto scenario = [](bool callsUnderTheLock) {
    return [callsUnderTheLock] {
      const auto bed = std::make_shared<Bed>();
      const auto isAwake = std::make_shared<bool>(false);
      Thread([bed, isAwake] {
        bed->sleep(now() + 5s);
        *isAwake = true;
      }).detach();
      { const std::lock_guard lock(bed->mutex); }  // here the other may run
      if (callsUnderTheLock) {
        bed->wake();
      } else {
        bed->isCalled = true;
        bed->call.notify_one();
      }
      awaitRest();
      expect(*isAwake, "it is awake before time wakes it");
    };
  };
  EXPECT_EQ(failureOf(scenario(true)), "none");
  EXPECT_EQ(failureOf(scenario(false)), "not so: it is awake before time wakes it");
}

TEST(SleepingTest, WhoWaitsForRestSeesWhatTheOthersHaveDone) {
  EXPECT_EQ(failureOf([] {
              const auto bed = std::make_shared<Bed>();
              const auto value = std::make_shared<Plain<int>>(0);
              Thread([bed, value] {
                value->changed() = 1;
                bed->sleep(now() + 5s);
              }).detach();
              awaitRest();
              expect(value->get() == 1, "it has been changed");
            }),
            "none");
}

TEST(SleepingTest, EachThreadHasItsOwnOfWhatIsLocalToThreads) {
  ThreadLocal<int> own = 7;
  EXPECT_EQ(failureOf([&own] {
              Mutex mutex;
              const auto change = [&](int value) {
                expect(own == 7, "it begins with the first value");
                own = value;
                { const std::lock_guard lock(mutex); }  // here the other may run
                expect(own == value, "nobody else has changed it");
              };
              atOnce({[&] { change(1); }, [&] { change(2); }});
            }),
            "none");
  EXPECT_EQ(own, 7);
}

}  // namespace
}  // namespace vellora::tests::interleaving
