#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "testkit/ManualQueue.h"
#include "tests/memory/EachAllocation.h"
#include "tests/memory/MemoryHost.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"
#include "vellora/Services/VelloraService.h"

// Every operation of the façade is carried out again and again. The first time its first allocation fails,
// then its second, until there is none of that number. All of it is done twice: with that one allocation
// failing alone, and with all that follow it failing too.

namespace vellora {
namespace {

using Extent = tests::AllocationFailure::Extent;
using simulation::SimulatedServer;

constexpr double timeout = 3600;

/// Counts the answers of one lookup, and those that are whole.
struct Answers {
  int all = 0;
  int whole = 0;

  template <class Check>
  void add(Check isWhole) {
    const tests::AllocationFailure::Pause pause;
    ++all;
    if (isWhole()) ++whole;
  }
};

/// One façade on a host of its own. Queues and network are stepped by hand.
class SteppedFacade {
 public:
  void construct() { service = std::make_unique<VelloraService>(host.api(), timeout, "light", hostQueue); }

  /// Runs queues and network until nothing is left to do. False when what the library gave them throws.
  bool settle() {
    try {
      while (hostQueue->runNext() || queues.runNext() || host.network().answerOne()) {
      }
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

  void lookUpIds(Answers& answers) {
    service->objectPresentationInfoForIds({"001a", "00Baccounts"}, [&answers](const auto& infos) {
      answers.add([&] {
        return infos.size() == 2 && infos.at("001a").typePresentationInfo == account() &&
               infos.at("00Baccounts").instancePresentationInfo == account();
      });
    });
  }

  void lookUpNames(Answers& answers) {
    service->objectPresentationInfoForApiNames({"Account"}, [&answers](const auto& infos) {
      answers.add([&] { return infos.size() == 1 && infos.at("Account").typePresentationInfo == account(); });
    });
  }

  void lookUpSearchLayouts(Answers& answers) {
    service->objectLayoutInfoForApiNames({"Account", "Order"}, [&answers](const auto& layouts) {
      answers.add([&] {
        return layouts && layouts->size() == 2 &&
               layouts->at("Account") == SimulatedServer::searchLayout(*SimulatedServer::named("Account"), 1);
      });
    });
  }

  void lookUpCompactLayouts(Answers& answers) {
    service->objectCompactLayoutInfoForApiNames({"Account", "Order"}, [&answers](const auto& layouts) {
      answers.add([&] {
        return layouts && layouts->size() == 2 &&
               layouts->at("Account") ==
                   SimulatedServer::compactLayout(*SimulatedServer::named("Account"), 1, true);
      });
    });
  }

  [[nodiscard]] static PresentationInfo account() {
    return SimulatedServer::presentation(*SimulatedServer::named("Account"), 1, 1);
  }

  tests::TestClock clock;
  tests::ManualQueues queues;
  tests::MemoryHost host;
  std::shared_ptr<testkit::ManualQueue> hostQueue = std::make_shared<testkit::ManualQueue>();
  std::unique_ptr<VelloraService> service;
};

using LookUp = void (SteppedFacade::*)(Answers& answers);

/// How the caches stand when the operation begins.
enum class Caches { empty, full, expired };

/// One allocation of an operation fails. Tells whether there was one of that number.
bool failOnce(LookUp lookUp, Caches caches, bool mayStaySilent, std::size_t number, Extent extent) {
  SteppedFacade facade;
  facade.construct();
  if (caches != Caches::empty) {
    facade.settle();
    Answers warm;
    (facade.*lookUp)(warm);
    facade.settle();
    EXPECT_EQ(warm.whole, 1);
  }
  if (caches == Caches::expired) facade.clock.advance(timeout + 1);

  Answers answers;
  bool thrown = false;
  bool happened = false;
  bool escaped = false;
  int atReturn = 0;
  {
    const tests::AllocationFailure failure(number, extent);
    try {
      (facade.*lookUp)(answers);
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
    atReturn = answers.all;
    escaped = !facade.settle();
    happened = failure.happened();
  }
  EXPECT_FALSE(escaped) << "into the host's queue or network";
  EXPECT_TRUE(facade.settle());
  EXPECT_TRUE(!thrown || answers.all == atReturn) << "a call that threw is answered later";
  EXPECT_LE(answers.all, 1);
  if (!happened) {
    EXPECT_EQ(answers.whole, 1);
  } else if (extent == Extent::one && !thrown && !mayStaySilent) {
    EXPECT_EQ(answers.all, 1) << "never answered";
  }

  Answers clean;
  (facade.*lookUp)(clean);
  facade.settle();
  EXPECT_EQ(clean.whole, 1) << "of the lookup after it";
  EXPECT_EQ(clean.all, 1);
  return happened;
}

void failEach(LookUp lookUp, Caches caches, bool mayStaySilent) {
  tests::failEachAllocationOf([=](std::size_t number, Extent extent) {
    return failOnce(lookUp, caches, mayStaySilent, number, extent);
  });
}

TEST(AllocationFailureTest, IdLookupsSurviveItWithEmptyCaches) {
  failEach(&SteppedFacade::lookUpIds, Caches::empty, true);
}

TEST(AllocationFailureTest, IdLookupsSurviveItWithFullCaches) {
  failEach(&SteppedFacade::lookUpIds, Caches::full, true);
}

TEST(AllocationFailureTest, IdLookupsSurviveItWithExpiredCaches) {
  failEach(&SteppedFacade::lookUpIds, Caches::expired, true);
}

TEST(AllocationFailureTest, NameLookupsSurviveItAndAnswer) {
  failEach(&SteppedFacade::lookUpNames, Caches::empty, false);
  failEach(&SteppedFacade::lookUpNames, Caches::full, false);
}

TEST(AllocationFailureTest, SearchLayoutLookupsSurviveItAndAnswer) {
  for (const auto caches : {Caches::empty, Caches::full, Caches::expired}) {
    failEach(&SteppedFacade::lookUpSearchLayouts, caches, false);
  }
}

TEST(AllocationFailureTest, CompactLayoutLookupsSurviveItAndAnswer) {
  for (const auto caches : {Caches::empty, Caches::full, Caches::expired}) {
    failEach(&SteppedFacade::lookUpCompactLayouts, caches, false);
  }
}

/// A façade is constructed, loads, and is destroyed, while one allocation fails.
bool constructFailing(std::size_t number, Extent extent) {
  SteppedFacade facade;
  bool happened = false;
  bool escaped = false;
  bool stuck = false;
  {
    const tests::AllocationFailure failure(number, extent);
    try {
      facade.construct();
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): there is no façade then
    }
    escaped = !facade.settle();
    stuck = facade.service && facade.service->primerState() == VelloraService::State::isLoading();
    facade.service.reset();
    happened = failure.happened();
  }
  EXPECT_FALSE(escaped) << "into the host's queue or network";
  EXPECT_FALSE(stuck) << "a prefetch never ends";
  facade.settle();
  facade.construct();
  Answers clean;
  facade.lookUpIds(clean);
  facade.settle();
  EXPECT_EQ(clean.whole, 1);
  return happened;
}

TEST(AllocationFailureTest, AFacadeIsConstructedOrNotAndItsPrefetchAlwaysEnds) {
  tests::failEachAllocationOf(constructFailing);
}

}  // namespace
}  // namespace vellora
