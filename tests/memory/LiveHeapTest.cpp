#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "testkit/ManualQueue.h"
#include "tests/memory/MemoryHost.h"
#include "tests/support/LongForm.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"
#include "vellora/Services/VelloraService.h"

// One façade answers lookup after lookup. None may leave anything on the heap, nor may a prefetch.

namespace vellora {
namespace {

class LiveHeapTest : public testing::Test {
 protected:
  static constexpr std::size_t keys = 40;
  static constexpr double timeout = 3600;

  LiveHeapTest() { settle(); }

  void settle() {
    while (hostQueue->runNext() || queues->runNext() || host.network().answerOne()) {
    }
  }

  [[nodiscard]] auto counting() {
    return [this](const auto&) { ++answers; };
  }

  void lookUpIds(std::size_t number) {
    service->objectPresentationInfoForIds({"001" + std::to_string(number % keys), "00Baccounts"}, counting());
    settle();
  }

  void lookUpNames(std::size_t) {
    service->objectPresentationInfoForApiNames({"Account", "Contact"}, counting());
    settle();
  }

  void lookUpSearchLayouts(std::size_t) {
    service->objectLayoutInfoForApiNames({"Account", "Order"}, counting());
    settle();
  }

  void lookUpCompactLayouts(std::size_t) {
    service->objectCompactLayoutInfoForApiNames({"Account", "Order"}, counting());
    settle();
  }

  /// A lookup of ids that finds both lists expired, so that it runs the prefetch again.
  void lookUpAfterExpiry(std::size_t number) {
    clock.advance(timeout + 1);
    lookUpIds(number);
  }

  /// A lookup of a list view that no row knows, whose query fails.
  void lookUpInVain(std::size_t) {
    host.network().failNext();
    service->objectPresentationInfoForIds({"00Bnobody"}, counting());
    settle();
  }

  /// A lookup of ids that runs the prefetch again, both of whose requests fail. Both lists must have expired.
  void prefetchInVain(std::size_t number) {
    host.network().failNext(2);
    lookUpIds(number);
  }

  /// What stays of each of `count` runs of `operation`, after some that fill the caches.
  struct Growth {
    double bytes;
    double blocks;
    double answers;
  };
  using Operation = std::function<void(std::size_t number)>;
  Growth growthOf(const Operation& operation, std::size_t count) {
    for (std::size_t number = 0; number < 2 * keys; ++number) operation(number);
    const auto before = tests::LiveMemory::now();
    answers = 0;
    for (std::size_t number = 0; number < count; ++number) operation(number);
    const auto after = tests::LiveMemory::now();
    const auto ofEach = [count](std::size_t now, std::size_t then) {
      return (static_cast<double>(now) - static_cast<double>(then)) / static_cast<double>(count);
    };
    return {ofEach(after.bytes, before.bytes), ofEach(after.blocks, before.blocks), ofEach(answers, 0)};
  }

  /// Nothing at all may stay of `share` of the lookups that this run of the tests carries out.
  void expectNothingLeft(const std::string& what, const Operation& operation, double answersToEach,
                         std::size_t share) {
    const auto lookups = static_cast<std::size_t>(tests::longForm("VELLORA_TEST_LOOKUPS").value_or(4000));
    const auto growth = growthOf(operation, lookups / share);
    EXPECT_EQ(growth.bytes, 0) << what;
    EXPECT_EQ(growth.blocks, 0) << what;
    EXPECT_EQ(growth.answers, answersToEach) << what;
    std::cout << "bytes left by " << what << ": " << growth.bytes << ", blocks: " << growth.blocks << '\n';
  }

  tests::TestClock clock;
  std::optional<tests::ManualQueues> queues{std::in_place};
  tests::MemoryHost host;
  std::shared_ptr<testkit::ManualQueue> hostQueue = std::make_shared<testkit::ManualQueue>();
  std::unique_ptr<VelloraService> service =
      std::make_unique<VelloraService>(host.api(), timeout, "light", hostQueue);
  std::size_t answers = 0;
};

TEST_F(LiveHeapTest, ALookupOfAnyKindLeavesNothing) {
  expectNothingLeft(
      "a lookup of ids", [this](auto number) { lookUpIds(number); }, 1, 4);
  expectNothingLeft(
      "a lookup of names", [this](auto number) { lookUpNames(number); }, 1, 4);
  expectNothingLeft(
      "a lookup of search layouts", [this](auto number) { lookUpSearchLayouts(number); }, 1, 4);
  expectNothingLeft(
      "a lookup of compact layouts", [this](auto number) { lookUpCompactLayouts(number); }, 1, 4);
}

TEST_F(LiveHeapTest, APrefetchLeavesNothingWhetherItSucceedsOrFails) {
  expectNothingLeft(
      "a prefetch and a lookup of ids", [this](auto number) { lookUpAfterExpiry(number); }, 1, 40);
  clock.advance(timeout + 1);
  expectNothingLeft(
      "a failed prefetch and a lookup of ids", [this](auto number) { prefetchInVain(number); }, 1, 40);
}

TEST_F(LiveHeapTest, ALookupThatIsSilentBecauseARequestFailedLeavesNothing) {
  expectNothingLeft(
      "a lookup of ids that failed", [this](auto number) { lookUpInVain(number); }, 0, 4);
}

TEST_F(LiveHeapTest, WhatLookupsLeftGoesWithTheFacade) {
  service.reset();
  const auto liveOnce = [this] {
    service = std::make_unique<VelloraService>(host.api(), timeout, "light", hostQueue);
    settle();
    for (std::size_t number = 0; number < 50; ++number) {
      lookUpIds(number);
      lookUpNames(number);
      lookUpSearchLayouts(number);
      lookUpCompactLayouts(number);
    }
    service.reset();
    settle();
    queues.reset();  // it remembers all queues that were made
    queues.emplace();
    return tests::LiveMemory::now();
  };
  const auto first = liveOnce();  // what it wrote stays in the host's cache
  const auto second = liveOnce();
  EXPECT_EQ(second.blocks, first.blocks);
  EXPECT_EQ(second.bytes, first.bytes);
}

}  // namespace
}  // namespace vellora
