#pragma once

#include <chrono>
#include <memory>
#include <new>

#include "testkit/ManualQueue.h"
#include "testkit/ManualTimer.h"
#include "tests/memory/MemoryHost.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"
#include "vellora/Catalog/Catalog.h"

namespace vellora::tests {

/// One catalogue on a host of its own. Queues, network and timer are stepped by hand.
class SteppedCatalog {
 public:
  static constexpr double cacheTimeout = 3600;

  void construct() {
    catalog = std::make_unique<Catalog>(
        host.api(), CatalogOptions{.cacheTimeout = std::chrono::duration<double>(cacheTimeout),
                                   .answersOn = answers,
                                   .timer = timer});
  }

  /// Runs queues and network until nothing is left to do. False when what the library gave them throws.
  bool settle() {
    try {
      while (answers->runNext() || queues.runNext() || host.network().answerOne()) {
      }
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

  TestClock clock;
  ManualQueues queues;
  MemoryHost host;
  std::shared_ptr<testkit::ManualQueue> answers = std::make_shared<testkit::ManualQueue>();
  std::shared_ptr<testkit::ManualTimer> timer = std::make_shared<testkit::ManualTimer>();
  std::unique_ptr<Catalog> catalog;
};

}  // namespace vellora::tests
