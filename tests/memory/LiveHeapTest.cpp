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

  /// What stays of `runs` of an operation, after some that fill the caches.
  struct Growth {
    std::size_t runs;
    std::ptrdiff_t bytes;
    std::ptrdiff_t blocks;
    std::size_t answers;
  };
  using Operation = std::function<void(std::size_t number)>;
  Growth growthOf(const Operation& operation, std::size_t runs) {
    for (std::size_t number = 0; number < 2 * keys; ++number) operation(number);
    const auto before = tests::LiveMemory::now();
    answers = 0;
    for (std::size_t number = 0; number < runs; ++number) operation(number);
    const auto after = tests::LiveMemory::now();
    const auto difference = [](std::size_t now, std::size_t then) {
      return static_cast<std::ptrdiff_t>(now) - static_cast<std::ptrdiff_t>(then);
    };
    return {runs, difference(after.bytes, before.bytes), difference(after.blocks, before.blocks), answers};
  }

  /// Carries out one `share` of the lookups of this run of the tests, none of which may leave a block.
  Growth grownBy(const std::string& what, const Operation& operation, std::size_t share) {
    const auto lookups = static_cast<std::size_t>(tests::longForm("VELLORA_TEST_LOOKUPS").value_or(4000));
    const auto growth = growthOf(operation, lookups / share);
    EXPECT_EQ(growth.blocks, 0) << what;
    std::cout << "left by " << growth.runs << " " << what << ": " << growth.bytes << " bytes, "
              << growth.blocks << " blocks\n";
    return growth;
  }

  /// The same for what writes nothing to the host's cache, and so leaves not a byte.
  void expectNothingLeft(const std::string& what, const Operation& operation, bool answered) {
    const auto growth = grownBy(what, operation, 4);
    EXPECT_EQ(growth.bytes, 0) << what;
    EXPECT_EQ(growth.answers, answered ? growth.runs : 0) << what;
  }

  /// The same for what writes lists. The heap may round those of the last run up otherwise than those before.
  void expectNoGrowth(const std::string& what, const Operation& operation) {
    const auto growth = grownBy(what, operation, 40);
    EXPECT_LT(growth.bytes, static_cast<std::ptrdiff_t>(growth.runs)) << what << ": a byte each, or more";
    EXPECT_EQ(growth.answers, growth.runs) << what;
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
      "lookups of ids", [this](auto number) { lookUpIds(number); }, true);
  expectNothingLeft(
      "lookups of names", [this](auto number) { lookUpNames(number); }, true);
  expectNothingLeft(
      "lookups of search layouts", [this](auto number) { lookUpSearchLayouts(number); }, true);
  expectNothingLeft(
      "lookups of compact layouts", [this](auto number) { lookUpCompactLayouts(number); }, true);
}

TEST_F(LiveHeapTest, APrefetchLeavesNothingWhetherItSucceedsOrFails) {
  expectNoGrowth("prefetches, each with a lookup of ids", [this](auto number) { lookUpAfterExpiry(number); });
  clock.advance(timeout + 1);
  expectNoGrowth("failed prefetches, each with a lookup of ids",
                 [this](auto number) { prefetchInVain(number); });
}

TEST_F(LiveHeapTest, ALookupThatIsSilentBecauseARequestFailedLeavesNothing) {
  expectNothingLeft(
      "failed lookups of ids", [this](auto number) { lookUpInVain(number); }, false);
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
