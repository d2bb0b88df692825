#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <new>
#include <set>
#include <string>

#include "tests/memory/EachAllocation.h"
#include "tests/memory/SteppedCatalog.h"

// Every question of a catalogue is asked again and again. The first time its first allocation fails, then its
// second, until there is none of that number. Each is answered once, unless asking has thrown.

namespace vellora {
namespace {

using namespace std::chrono_literals;
using Extent = tests::AllocationFailure::Extent;

/// Counts the answers of one question, and those that are whole.
struct Answers {
  int all = 0;
  int whole = 0;
  bool accountsForAll = true;
};

/// A question of one kind.
struct Kind {
  std::function<QuestionToken(const Catalog& catalog, Answers& answers)> ask;
};

/// `question(catalog)`, which is asked for `keys` and finds `found` of them.
template <class Ask>
Kind kindOf(Ask question, std::size_t keys, std::size_t found) {
  return {[=](const Catalog& catalog, Answers& answers) {
    return question(catalog).then([&answers, keys, found](const auto& answer) {
      const tests::AllocationFailure::Pause pause;
      ++answers.all;
      answers.whole += answer.end == End::answered && answer.found.size() == found ? 1 : 0;
      answers.accountsForAll = keys == 0 || answer.found.size() + answer.missing.size() == keys;
    });
  }};
}

enum class Caches { empty, full, expired };

bool failOnce(const Kind& kind, Caches caches, std::size_t number, Extent extent) {
  tests::SteppedCatalog stage;
  stage.construct();
  if (caches != Caches::empty) {
    stage.settle();
    Answers warm;
    const auto token = kind.ask(*stage.catalog, warm);
    stage.settle();
    EXPECT_EQ(warm.whole, 1);
  }
  if (caches == Caches::expired) stage.clock.advance(tests::SteppedCatalog::cacheTimeout + 1);

  Answers answers;
  QuestionToken token;
  bool thrown = false;
  bool escaped = false;
  bool happened = false;
  {
    const tests::AllocationFailure failure(number, extent);
    try {
      token = kind.ask(*stage.catalog, answers);
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
    escaped = !stage.settle();
    happened = failure.happened();
  }
  EXPECT_FALSE(escaped) << "into the host's queue or network";
  EXPECT_TRUE(stage.settle());
  stage.timer->advance(10s);
  EXPECT_TRUE(stage.settle());
  EXPECT_EQ(answers.all, thrown ? 0 : 1) << "each question that was asked ends once";
  EXPECT_TRUE(answers.accountsForAll || extent == Extent::allFromThereOn);
  EXPECT_TRUE(happened || answers.whole == 1);

  Answers clean;
  const auto again = kind.ask(*stage.catalog, clean);
  stage.settle();
  EXPECT_EQ(clean.whole, 1) << "of the question after it";
  EXPECT_EQ(clean.all, 1);
  return happened;
}

void failEach(const Kind& kind, const std::set<Caches>& states) {
  for (const auto caches : states) {
    tests::failEachAllocationOf(
        [&](std::size_t number, Extent extent) { return failOnce(kind, caches, number, extent); }, 7);
  }
}

const std::set<Caches> allStates{Caches::empty, Caches::full, Caches::expired};

TEST(CatalogAllocationFailureTest, RecordsSurviveItAndAnswer) {
  failEach(kindOf(
               [](const Catalog& catalog) {
                 return catalog.records({"001a", "00Baccounts", "zzz"});
               },
               3, 2),
           allStates);
}

TEST(CatalogAllocationFailureTest, TypesSurviveItAndAnswer) {
  failEach(kindOf(
               [](const Catalog& catalog) {
                 return catalog.types({"Account", "Nothing"});
               },
               2, 1),
           {Caches::empty, Caches::full});
  failEach(kindOf([](const Catalog& catalog) { return catalog.allTypes("acc"); }, 0, 1), {Caches::full});
}

TEST(CatalogAllocationFailureTest, SearchColumnsSurviveItAndAnswer) {
  failEach(kindOf(
               [](const Catalog& catalog) {
                 return catalog.searchColumns({"Account", "Order"});
               },
               2, 2),
           allStates);
}

TEST(CatalogAllocationFailureTest, HeadlinesSurviveItAndAnswer) {
  failEach(kindOf(
               [](const Catalog& catalog) {
                 return catalog.headlines({"Account", "Order"});
               },
               2, 2),
           allStates);
}

TEST(CatalogAllocationFailureTest, ARefreshSurvivesItAndAnswers) {
  tests::failEachAllocationOf(
      [](std::size_t number, Extent extent) {
        return failOnce(kindOf([](const Catalog& catalog) { return catalog.refresh(); }, 0, 0), Caches::full,
                        number, extent);
      },
      7);
}

/// A catalogue is constructed, loads, and is destroyed, while one allocation fails.
bool constructFailing(std::size_t number, Extent extent) {
  tests::SteppedCatalog stage;
  bool happened = false;
  bool escaped = false;
  bool stuck = false;
  {
    const tests::AllocationFailure failure(number, extent);
    try {
      stage.construct();
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): there is no catalogue then
    }
    escaped = !stage.settle();
    happened = failure.happened();
  }
  stage.timer->advance(60s);
  stage.settle();
  stuck = stage.catalog && stage.catalog->readiness().readinessCase() == Readiness::Case::loading;
  stage.catalog.reset();
  EXPECT_FALSE(escaped) << "into the host's queue or network";
  EXPECT_FALSE(stuck) << "a load never ends";
  EXPECT_EQ(stage.timer->pending(), 0U);
  return happened;
}

TEST(CatalogAllocationFailureTest, ACatalogueIsConstructedOrNotAndItsFirstLoadAlwaysEnds) {
  tests::failEachAllocationOf(constructFailing);
}

}  // namespace
}  // namespace vellora
