#include <gtest/gtest.h>

#include <array>
#include <cstddef>
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

// One façade answers lookup after lookup. A presentation lookup may leave its subscription token on the heap,
// a layout lookup nothing.

namespace vellora {
namespace {

class LiveHeapTest : public testing::Test {
 protected:
  static constexpr std::size_t keys = 40;

  LiveHeapTest() { settle(); }

  void settle() {
    while (hostQueue->runNext() || queues->runNext() || host.network().answerOne()) {
    }
  }

  /// A lookup of one kind, answered to its end.
  void lookUp(std::size_t kind, std::size_t number) {
    const auto key = number % keys;
    const auto count = [this](const auto&) { ++answers; };
    switch (kind) {
      case 0:
        service->objectPresentationInfoForIds({"001" + std::to_string(key), "00Baccounts"}, count);
        break;
      case 1:
        service->objectPresentationInfoForApiNames({"Account", "Contact"}, count);
        break;
      case 2:
        service->objectLayoutInfoForApiNames({"Account", "Order"}, count);
        break;
      default:
        service->objectCompactLayoutInfoForApiNames({"Account", "Order"}, count);
    }
    settle();
  }

  /// What stays of each of `lookups` lookups of one kind.
  struct Growth {
    double bytes;
    double blocks;
  };
  Growth growthOf(std::size_t kind, std::size_t lookups) {
    for (std::size_t number = 0; number < 2 * keys; ++number) lookUp(kind, number);  // fills the caches
    const auto before = tests::LiveMemory::now();
    answers = 0;
    for (std::size_t number = 0; number < lookups; ++number) lookUp(kind, number);
    const auto after = tests::LiveMemory::now();
    EXPECT_EQ(answers, lookups);
    const auto ofEach = [lookups](std::size_t now, std::size_t then) {
      return (static_cast<double>(now) - static_cast<double>(then)) / static_cast<double>(lookups);
    };
    return {ofEach(after.bytes, before.bytes), ofEach(after.blocks, before.blocks)};
  }

  tests::TestClock clock;
  std::optional<tests::ManualQueues> queues{std::in_place};
  tests::MemoryHost host;
  std::shared_ptr<testkit::ManualQueue> hostQueue = std::make_shared<testkit::ManualQueue>();
  std::unique_ptr<VelloraService> service =
      std::make_unique<VelloraService>(host.api(), 3600, "light", hostQueue);
  std::size_t answers = 0;
};

TEST_F(LiveHeapTest, APresentationLookupLeavesItsTokenAndALayoutLookupNothing) {
  // The four kinds share them.
  const auto lookups = static_cast<std::size_t>(tests::longForm("VELLORA_TEST_LOOKUPS").value_or(4000)) / 4;
  constexpr std::array<const char*, 4> names{"ids", "names", "search layouts", "compact layouts"};
  // A token, and its place in a list that may have room for as many again.
  constexpr std::array<double, 4> ceilings{176, 176, 0, 0};
  for (std::size_t kind = 0; kind < names.size(); ++kind) {
    const auto [bytes, blocks] = growthOf(kind, lookups);
    EXPECT_LE(bytes, ceilings.at(kind)) << names.at(kind);
    EXPECT_LE(blocks, kind < 2 ? 1.01 : 0.0) << names.at(kind);
    std::cout << "bytes left by a lookup of " << names.at(kind) << ": " << bytes << ", blocks: " << blocks
              << '\n';
  }
}

TEST_F(LiveHeapTest, WhatLookupsLeftGoesWithTheFacade) {
  service.reset();
  const auto liveOnce = [this] {
    service = std::make_unique<VelloraService>(host.api(), 3600, "light", hostQueue);
    settle();
    for (std::size_t number = 0; number < 200; ++number) lookUp(number % 4, number);
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
