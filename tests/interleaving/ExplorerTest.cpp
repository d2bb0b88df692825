#include "tests/interleaving/Explorer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/interleaving/Atomic.h"
#include "tests/interleaving/ConditionVariable.h"
#include "tests/interleaving/Mutex.h"
#include "tests/interleaving/Plain.h"
#include "tests/interleaving/Run.h"
#include "tests/interleaving/Thread.h"

namespace vellora::tests::interleaving {
namespace {

constexpr Limits noLimits{};

std::uint64_t binomial(std::uint64_t n, std::uint64_t k) {
  std::uint64_t count = 1;
  for (std::uint64_t i = 1; i <= k; ++i) count = count * (n - k + i) / i;
  return count;
}

/// As many threads as are said, each of which loads an atomic of its own so many times: each load is a place
/// to make way, so a thread has one piece more than it has loads.
std::function<void()> loads(std::size_t threads, int count) {
  return [threads, count] {
    std::vector<std::unique_ptr<Atomic<int>>> atomics;
    std::vector<std::function<void()>> works;
    for (std::size_t i = 0; i < threads; ++i) {
      auto& own = *atomics.emplace_back(std::make_unique<Atomic<int>>(0));
      works.emplace_back([&own, count] {
        for (int load = 0; load < count; ++load) static_cast<void>(own.load());
      });
    }
    atOnce(works);
  };
}

std::string failureOf(const Explored& explored) {
  return explored.failure ? explored.failure->what : "none";
}

TEST(ExplorerTest, RunsTwoThreadsInEachOrderOfTheirPieces) {
  for (int count = 0; count <= 5; ++count) {
    const auto pieces = static_cast<std::uint64_t>(count) + 1;
    EXPECT_EQ(explore(loads(2, count), noLimits).runs, binomial(2 * pieces, pieces)) << count;
  }
}

TEST(ExplorerTest, RunsWhatAScenarioBeginsWithInOneOrder) {
  const auto scenario = loads(2, 3);
  const auto behindOthers = explore(
      [&] {
        inOneOrder(loads(2, 3));
        scenario();
      },
      noLimits);
  EXPECT_EQ(behindOthers.runs, explore(scenario, noLimits).runs);
}

TEST(ExplorerTest, RunsThreeThreadsInEachOrderOfTheirPieces) {
  EXPECT_EQ(explore(loads(3, 0), noLimits).runs, 6U);
  EXPECT_EQ(explore(loads(3, 1), noLimits).runs, 90U);    // 6! / 2!³
  EXPECT_EQ(explore(loads(3, 2), noLimits).runs, 1680U);  // 9! / 3!³
}

TEST(ExplorerTest, CountsPreemptionsByTheFormula) {
  constexpr std::uint64_t pieces = 7;
  const auto runs = [](int preemptions) { return explore(loads(2, 6), {preemptions, 0}).runs; };
  EXPECT_EQ(runs(0), 2U);
  EXPECT_EQ(runs(1), 2 * pieces);
  EXPECT_EQ(runs(2), 2 * pieces + 2 * (pieces - 1) * (pieces - 1));
}

TEST(ExplorerDeathTest, SaysByWhichScheduleAProcessAborts) {
  const auto scenario = [] {
    Atomic<int> count = 0;
    atOnce({[&] { ++count; },
            [&] {
              if (count.load() == 1) std::abort();
            }});
  };
  EXPECT_EXIT(static_cast<void>(explore(scenario, noLimits)), testing::KilledBySignal(SIGABRT),
              "by the schedule ''");
}

TEST(ExplorerTest, FindsALostUpdate) {
  const auto explored = explore(
      [] {
        Atomic<int> count = 0;
        const auto add = [&] { count.store(count.load() + 1); };
        atOnce({add, add});
        expect(count.load() == 2, "both are counted");
      },
      noLimits);
  EXPECT_EQ(failureOf(explored), "not so: both are counted");
}

TEST(ExplorerTest, FindsNothingInAnExchangeInOnePiece) {
  const auto explored = explore(
      [] {
        Atomic<int> count = 0;
        atOnce({[&] { ++count; }, [&] { ++count; }});
        expect(count.load() == 2, "both are counted");
      },
      noLimits);
  EXPECT_EQ(failureOf(explored), "none");
}

TEST(ExplorerTest, NeedsOnePreemptionForALostUpdate) {
  const auto scenario = [] {
    Atomic<int> count = 0;
    const auto add = [&] { count.store(count.load() + 1); };
    atOnce({add, add});
    expect(count.load() == 2, "both are counted");
  };
  EXPECT_EQ(failureOf(explore(scenario, {0, 0})), "none");
  EXPECT_EQ(failureOf(explore(scenario, {1, 0})), "not so: both are counted");
}

TEST(ExplorerTest, ReplaysAFailureFromItsSchedule) {
  const auto scenario = [] {
    Atomic<int> count = 0;
    const auto add = [&] { count.store(count.load() + 1); };
    atOnce({add, add, add});
    expect(count.load() == 3, "all are counted");
  };
  const auto found = explore(scenario, {2, 0});
  ASSERT_TRUE(found.failure);
  const auto again = replay(scenario, found.failure->schedule);
  EXPECT_EQ(again.runs, 1U);
  EXPECT_EQ(failureOf(again), found.failure->what);
  EXPECT_EQ(again.failure->trace, found.failure->trace);
  EXPECT_FALSE(replay(scenario, "").failure);
}

TEST(ExplorerTest, TellsWhatEachThreadDid) {
  const auto found = explore(
      [] {
        Mutex mutex;
        atOnce({[&] { const std::lock_guard lock(mutex); }});
        expect(false, "this");
      },
      noLimits);
  ASSERT_TRUE(found.failure);
  EXPECT_EQ(found.failure->trace,
            (std::vector<std::string>{"thread 1 locks 0", "thread 1 has unlocked 0", "thread 1 ends",
                                      "thread 0 goes on behind the others"}));
}

TEST(ExplorerTest, RefusesAScheduleThatIsNone) {
  for (const std::string schedule : {"x", "1", "1:", "3:1 2:1", "1:1 x"}) {
    EXPECT_EQ(failureOf(replay(loads(2, 1), schedule)), "the schedule is none") << schedule;
  }
  EXPECT_EQ(failureOf(replay(loads(2, 1), "0:7")), "the schedule is not one of this scenario");
}

TEST(ExplorerTest, FindsThatTwoLocksAreTakenCrosswise) {
  const auto explored = explore(
      [] {
        Mutex one;
        Mutex other;
        atOnce({[&] {
                  const std::lock_guard first(one);
                  const std::lock_guard second(other);
                },
                [&] {
                  const std::lock_guard first(other);
                  const std::lock_guard second(one);
                }});
      },
      noLimits);
  EXPECT_EQ(
      failureOf(explored),
      "deadlock: thread 0 waits for the end of others; thread 1 waits for a mutex; thread 2 waits for a "
      "mutex");
}

TEST(ExplorerTest, FindsThatAThreadLocksWhatItHolds) {
  const auto explored = explore(
      [] {
        Mutex mutex;
        const std::lock_guard first(mutex);
        const std::lock_guard second(mutex);
      },
      noLimits);
  EXPECT_EQ(failureOf(explored), "deadlock: thread 0 waits for a mutex");
}

TEST(ExplorerTest, LetsAThreadLockAgainWhatIsRecursive) {
  const auto explored = explore(
      [] {
        RecursiveMutex mutex;
        Plain<int> inside(0);
        const auto work = [&] {
          const std::lock_guard first(mutex);
          const std::lock_guard second(mutex);
          ++inside.changed();
        };
        atOnce({work, work});
        expect(inside.get() == 2, "both came in");
      },
      noLimits);
  EXPECT_EQ(failureOf(explored), "none");
}

/// One thread waits for what another says under the lock, or beside it.
std::function<void()> waiting(bool saysUnderTheLock) {
  return [saysUnderTheLock] {
    Mutex mutex;
    ConditionVariable said;
    Atomic<bool> isSaid = false;
    atOnce({[&] {
              std::unique_lock lock(mutex);
              said.wait(lock, [&] { return isSaid.load(); });
            },
            [&] {
              std::unique_lock lock(mutex, std::defer_lock);
              if (saysUnderTheLock) lock.lock();
              isSaid = true;
              said.notify_one();
            }});
  };
}

TEST(ExplorerTest, FindsALostWakeUp) {
  EXPECT_EQ(failureOf(explore(waiting(true), noLimits)), "none");
  EXPECT_EQ(failureOf(explore(waiting(false), noLimits)),
            "deadlock: thread 0 waits for the end of others; thread 1 waits for a condition variable");
}

TEST(ExplorerTest, WakesEitherOfTwoThatWait) {
  std::set<std::size_t> woken;
  const auto explored = explore(
      [&woken] {
        Mutex mutex;
        ConditionVariable said;
        int waiting = 0;
        std::size_t turns = 0;
        const auto wait = [&] {
          std::unique_lock lock(mutex);
          ++waiting;
          said.wait(lock, [&] { return turns > 0; });
          --turns;
          if (waiting == 2) woken.insert(Run::current()->self());
          --waiting;
        };
        atOnce({wait, wait, [&] {
                  for (int turn = 0; turn < 2; ++turn) {
                    const std::lock_guard lock(mutex);
                    ++turns;
                    said.notify_one();
                  }
                }});
      },
      {1, 0});
  EXPECT_EQ(failureOf(explored), "none");
  EXPECT_EQ(woken, (std::set<std::size_t>{1, 2}));
}

TEST(ExplorerTest, FindsThatAnAtomicIsChangedWithoutANotice) {
  const auto scenario = [](bool notifies) {
    return [notifies] {
      Atomic<bool> isDone = false;
      atOnce({[&] { isDone.wait(false); },
              [&] {
                isDone = true;
                if (notifies) isDone.notify_all();
              }});
    };
  };
  EXPECT_EQ(failureOf(explore(scenario(true), noLimits)), "none");
  EXPECT_EQ(failureOf(explore(scenario(false), noLimits)),
            "deadlock: thread 0 waits for the end of others; thread 1 waits for an atomic");
}

TEST(ExplorerTest, FindsThatALockIsUsedWhenItIsGone) {
  const auto explored = explore(
      [] {
        std::optional<Mutex> mutex(std::in_place);
        Atomic<bool> isLeft = false;
        atOnce({[&] {
                  mutex->lock();
                  isLeft = true;  // too early: the lock is still needed
                  mutex->unlock();
                },
                [&] {
                  if (isLeft) mutex.reset();
                }});
      },
      noLimits);
  EXPECT_EQ(failureOf(explored), "a mutex is destroyed while it is held");
}

TEST(ExplorerTest, FindsThatAnAtomicIsUsedWhenItIsGone) {
  const auto explored = explore(
      [] {
        std::optional<Atomic<int>> count(std::in_place, 2);
        const auto leave = [&] {
          --*count;
          if (*count == 0) count.reset();
        };
        atOnce({leave, leave});
      },
      noLimits);
  EXPECT_EQ(failureOf(explored), "it uses what is destroyed");
}

TEST(ExplorerTest, FindsThatAThreadUnlocksWhatAnotherHolds) {
  const auto explored = explore(
      [] {
        Mutex mutex;
        mutex.lock();
        atOnce({[&] { mutex.unlock(); }});
      },
      noLimits);
  EXPECT_EQ(failureOf(explored), "a thread unlocks what it does not hold");
}

TEST(ExplorerTest, ForgetsWhoHeldALockThatOutlivesAFailedRun) {
  Mutex mutex;
  EXPECT_EQ(failureOf(explore(
                [&] {
                  mutex.lock();
                  expect(false, "this");
                },
                noLimits)),
            "not so: this");
  EXPECT_EQ(failureOf(explore([&] { const std::lock_guard lock(mutex); }, noLimits)), "none");
}

TEST(ExplorerTest, ForgetsWhatALockShowedInTheRunBefore) {
  Mutex mutex;
  const auto lockOften = [&] {
    for (int times = 0; times < 10; ++times) const std::lock_guard lock(mutex);
  };
  EXPECT_EQ(failureOf(explore([&] { atOnce({lockOften, lockOften}); }, {0, 0})), "none");
  EXPECT_EQ(
      failureOf(explore(
          [&] {
            Plain<int> value(0);
            atOnce({[&] { value.changed() = 1; },
                    [&] {
                      const std::lock_guard lock(mutex);  // which the other one has not held in this run
                      static_cast<void>(value.get());
                    }});
          },
          {0, 0})),
      "data race: a thread reads what another has just written");
}

TEST(ExplorerTest, FindsAThreadThatNobodyJoins) {
  const auto explored = explore([] { const Thread thread([] {}); }, noLimits);
  EXPECT_EQ(failureOf(explored), "a thread is destroyed that nobody has joined");
}

TEST(ExplorerTest, FindsARunThatDoesNotEnd) {
  const auto explored = explore(
      [] {
        const Atomic<bool> never = false;
        while (!never) {
        }
      },
      noLimits);
  EXPECT_EQ(failureOf(explored), "it does not end within 20000 steps");
}

TEST(ExplorerTest, WaitsForThreadsThatAreDetached) {
  int ended = 0;
  const auto explored = explore(
      [&ended] {
        const auto count = std::make_shared<Atomic<int>>(0);
        Thread([&ended, count] {
          ++*count;
          ++ended;
        }).detach();
      },
      noLimits);
  EXPECT_EQ(failureOf(explored), "none");
  EXPECT_EQ(static_cast<std::uint64_t>(ended), explored.runs);
}

/// Two threads go where only one may be. Each says that it wants to, and makes way for the other; the lock
/// needs that both stores are seen in one order.
std::function<void()> petersonsLock(std::memory_order order) {
  return [order] {
    std::vector<Atomic<bool>> wants(2);
    Atomic<int> turn = 0;
    Plain<int> inside(0);
    const auto enterOrLeave = [&](std::size_t self) {
      wants[self].store(true, order);
      turn.store(static_cast<int>(1 - self), order);
      const bool mustWait = wants[1 - self].load(order) && turn.load(order) != static_cast<int>(self);
      if (!mustWait) ++inside.changed();
      wants[self].store(false, order);
    };
    atOnce({[&] { enterOrLeave(0); }, [&] { enterOrLeave(1); }});
  };
}

TEST(ExplorerTest, FindsThatPetersonsLockNeedsSequentialConsistency) {
  EXPECT_EQ(failureOf(explore(petersonsLock(std::memory_order_seq_cst), {3, 1})), "none");
  EXPECT_EQ(failureOf(explore(petersonsLock(std::memory_order_relaxed), {3, 1})),
            "data race: two threads write the same");
}

}  // namespace
}  // namespace vellora::tests::interleaving
