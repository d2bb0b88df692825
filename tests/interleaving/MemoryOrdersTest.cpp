#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>

#include "tests/interleaving/Atomic.h"
#include "tests/interleaving/Explorer.h"
#include "tests/interleaving/Mutex.h"
#include "tests/interleaving/Plain.h"

// The known little programs that tell memory models apart: which outcomes the orders of C++ allow.

namespace vellora::tests::interleaving {
namespace {

using Order = std::memory_order;

constexpr Limits oneStaleRead{Limits::none, 1};
constexpr Limits twoStaleReads{Limits::none, 2};

bool isFound(const std::function<void()>& scenario, const Limits& limits = oneStaleRead) {
  return explore(scenario, limits).failure.has_value();
}

/// One thread writes a message and then says so; another looks whether it is said.
std::function<void()> message(Order says, Order looks) {
  return [says, looks] {
    Atomic<int> text = 0;
    Atomic<bool> isSaid = false;
    atOnce({[&] {
              text.store(1, Order::relaxed);
              isSaid.store(true, says);
            },
            [&] {
              if (isSaid.load(looks)) expect(text.load(Order::relaxed) == 1, "the message is read");
            }});
  };
}

TEST(MemoryOrdersTest, AMessageIsReadOnlyIfItIsReleasedAndAcquired) {
  EXPECT_FALSE(isFound(message(Order::release, Order::acquire)));
  EXPECT_FALSE(isFound(message(Order::seq_cst, Order::seq_cst)));
  EXPECT_TRUE(isFound(message(Order::relaxed, Order::acquire)));
  EXPECT_TRUE(isFound(message(Order::release, Order::relaxed)));
}

/// The same with fences around operations without an order.
std::function<void()> messageBetweenFences(bool fencesStore, bool fencesLoad) {
  return [fencesStore, fencesLoad] {
    Atomic<int> text = 0;
    Atomic<bool> isSaid = false;
    atOnce({[&] {
              text.store(1, Order::relaxed);
              if (fencesStore) fence(Order::release);
              isSaid.store(true, Order::relaxed);
            },
            [&] {
              const bool heard = isSaid.load(Order::relaxed);
              if (fencesLoad) fence(Order::acquire);
              if (heard) expect(text.load(Order::relaxed) == 1, "the message is read");
            }});
  };
}

TEST(MemoryOrdersTest, FencesOrderWhatHasNoOrder) {
  EXPECT_FALSE(isFound(messageBetweenFences(true, true)));
  EXPECT_TRUE(isFound(messageBetweenFences(false, true)));
  EXPECT_TRUE(isFound(messageBetweenFences(true, false)));
}

/// Each of two threads stores its own and reads the other's: at least one must see the other.
std::function<void()> crosswise(Order stores, Order loads, bool hasFences = false) {
  return [=] {
    Atomic<int> one = 0;
    Atomic<int> other = 0;
    int ofOne = -1;
    int ofOther = -1;
    atOnce({[&] {
              one.store(1, stores);
              if (hasFences) fence(Order::seq_cst);
              ofOther = other.load(loads);
            },
            [&] {
              other.store(1, stores);
              if (hasFences) fence(Order::seq_cst);
              ofOne = one.load(loads);
            }});
    expect(ofOne + ofOther > 0, "one sees the other");
  };
}

TEST(MemoryOrdersTest, OnlyASequentiallyConsistentLoadSeesWhatWasStoredElsewhereBefore) {
  EXPECT_FALSE(isFound(crosswise(Order::seq_cst, Order::seq_cst)));
  EXPECT_FALSE(isFound(crosswise(Order::relaxed, Order::relaxed, true)));
  EXPECT_TRUE(isFound(crosswise(Order::release, Order::acquire)));
  EXPECT_TRUE(isFound(crosswise(Order::seq_cst, Order::acquire)));
}

TEST(MemoryOrdersTest, AThreadNeverReadsAnOlderStoreThanBefore) {
  EXPECT_FALSE(isFound(
      [] {
        Atomic<int> count = 0;
        atOnce({[&] {
                  count.store(1, Order::relaxed);
                  count.store(2, Order::relaxed);
                },
                [&] {
                  const int first = count.load(Order::relaxed);
                  const int second = count.load(Order::relaxed);
                  expect(first <= second, "what is read grows");
                }});
      },
      twoStaleReads));
}

TEST(MemoryOrdersTest, AnExchangeReadsTheNewestStore) {
  EXPECT_FALSE(isFound([] {
    Atomic<int> count = 0;
    const auto add = [&] { count.fetch_add(1, Order::relaxed); };
    atOnce({add, add, add});
    expect(count.load() == 3, "all are counted");
  }));
}

TEST(MemoryOrdersTest, AnExchangePassesOnWhatTheStoreBeforeHasReleased) {
  EXPECT_FALSE(isFound([] {
    Atomic<int> text = 0;
    Atomic<int> step = 0;
    atOnce({[&] {
              text.store(1, Order::relaxed);
              step.store(1, Order::release);
            },
            [&] {
              int expected = 1;
              step.compare_exchange_strong(expected, 2, Order::relaxed);
            },
            [&] {
              if (step.load(Order::acquire) == 2) expect(text.load(Order::relaxed) == 1, "it is passed on");
            }});
  }));
}

TEST(MemoryOrdersTest, WhatIsAcquiredReachesAThird) {
  EXPECT_FALSE(isFound(
      [] {
        Atomic<int> text = 0;
        Atomic<bool> isSaid = false;
        Atomic<bool> isRepeated = false;
        atOnce({[&] {
                  text.store(1, Order::relaxed);
                  isSaid.store(true, Order::release);
                },
                [&] {
                  if (isSaid.load(Order::acquire)) isRepeated.store(true, Order::release);
                },
                [&] {
                  if (isRepeated.load(Order::acquire)) expect(text.load(Order::relaxed) == 1, "it is read");
                }});
      },
      {3, 1}));
}

/// A counter that two threads change, under a lock or without one.
std::string raceOf(bool locks) {
  const auto explored = explore(
      [locks] {
        Mutex mutex;
        Plain<int> count(0);
        const auto add = [&] {
          std::unique_lock lock(mutex, std::defer_lock);
          if (locks) lock.lock();
          ++count.changed();
        };
        atOnce({add, add});
        expect(count.get() == 2, "both are counted");
      },
      {});
  return explored.failure ? explored.failure->what : "none";
}

TEST(MemoryOrdersTest, ADataRaceIsFoundWhereverTheAccessesStand) {
  EXPECT_EQ(raceOf(true), "none");
  EXPECT_EQ(raceOf(false), "data race: two threads write the same");
}

TEST(MemoryOrdersTest, ARelaxedFlagPublishesNothing) {
  const auto scenario = [](Order says, Order looks) {
    return [says, looks] {
      Plain<int> text(0);
      Atomic<bool> isSaid = false;
      atOnce({[&] {
                text.changed() = 1;
                isSaid.store(true, says);
              },
              [&] {
                if (isSaid.load(looks)) expect(text.get() == 1, "the message is read");
              }});
    };
  };
  EXPECT_FALSE(isFound(scenario(Order::release, Order::acquire)));
  EXPECT_TRUE(isFound(scenario(Order::relaxed, Order::acquire)));
  EXPECT_TRUE(isFound(scenario(Order::release, Order::relaxed)));
}

TEST(MemoryOrdersTest, AReaderRacesWithALaterWriter) {
  EXPECT_TRUE(isFound([] {
    Plain<int> text(0);
    Atomic<bool> isRead = false;
    atOnce({[&] {
              static_cast<void>(text.get());
              isRead.store(true, Order::relaxed);
            },
            [&] {
              if (isRead.load()) text.changed() = 1;
            }});
  }));
}

}  // namespace
}  // namespace vellora::tests::interleaving
