#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/SilentLogger.h"
#include "tests/simulation/Draw.h"
#include "tests/simulation/SimulatedServer.h"
#include "tests/stress/ThreadedNetwork.h"
#include "tests/stress/WaitUntil.h"
#include "tests/support/LongForm.h"
#include "vellora/Catalog/Catalog.h"

// Eight threads have ten thousand questions of all kinds in flight at once on catalogues that all share one
// cache, give some of them up, and destroy catalogues meanwhile.

namespace vellora {
namespace {

using namespace std::chrono_literals;
using simulation::SimulatedServer;

constexpr std::size_t threadCount = 8;

/// What became of one question.
struct Asked {
  QuestionToken token;
  std::atomic<int> answers = 0;
  std::atomic<bool> isGivenUp = false;  ///< from here on nothing may come
  std::atomic<int> late = 0;
};

class CatalogStressTest : public testing::Test {
 protected:
  using Catalogs = std::vector<std::unique_ptr<Catalog>>;

  [[nodiscard]] std::unique_ptr<Catalog> newCatalog() const {
    return std::make_unique<Catalog>(std::make_shared<hostkit::StandardPlatformAPI>(network, cache, logger));
  }

  /// Waits with a callback that notes whether it came in time, once, and whether `isRight(answer)`.
  template <class T, class IsRight>
  void note(Asked& asked, Question<T> question, IsRight isRight) {
    asked.token = std::move(question).then([this, &asked, isRight](const Answer<T>& answer) {
      if (asked.isGivenUp) ++asked.late;
      if (!isRight(answer)) ++wrong;
      ++asked.answers;
      ++answered;
    });
  }

  /// Ids, names, columns and headlines in turn. What is found is right, and each key is accounted for.
  void ask(const Catalog& catalog, Asked& asked, std::size_t number, TimedQueue::Delay deadline) {
    const QuestionOptions options{.deadline = deadline};
    const auto& account = *SimulatedServer::named("Account");
    const auto isAccount = [&](const ObjectPresentationInfo& info) {
      return info.typePresentationInfo == SimulatedServer::presentation(account, 1, 1);
    };
    const auto isWhole = [](const auto& answer) {
      return answer.found.size() + answer.missing.size() == 2 && answer.end != End::failed;
    };
    switch (number % 5) {
      case 0:
      case 1:
        return note(asked, catalog.records({"001" + std::to_string(number), "zzz"}, options),
                    [=](const auto& answer) {
                      return isWhole(answer) &&
                             (answer.found.empty() || isAccount(answer.found.begin()->second));
                    });
      case 2:
        return note(asked, catalog.types({"Account", "Nothing"}, options), [=](const auto& answer) {
          return isWhole(answer) && (answer.found.empty() || isAccount(answer.found.begin()->second));
        });
      case 3:
        return note(asked, catalog.searchColumns({"Account", "Nothing"}, options), [=](const auto& answer) {
          return isWhole(answer) && (answer.found.empty() || answer.found.begin()->second ==
                                                                 SimulatedServer::searchLayout(account, 1));
        });
      default:
        return note(asked, catalog.headlines({"Account", "Nothing"}, options), [=](const auto& answer) {
          return isWhole(answer) &&
                 (answer.found.empty() ||
                  answer.found.begin()->second == SimulatedServer::compactLayout(account, 1, true));
        });
    }
  }

  /// Calls `work` on each of the threads, with its number, and returns when all have ended.
  template <class Work>
  static void onThreads(Work work) {
    std::vector<std::jthread> threads;
    for (std::size_t thread = 0; thread < threadCount; ++thread) threads.emplace_back(work, thread);
  }

  template <class Condition>
  [[nodiscard]] bool waitUntil(Condition holds) const {
    return tests::waitUntil(answered, holds);
  }

  [[nodiscard]] static std::size_t threadsOfTheProcess() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
  }

  void expectNothingAlive() {
    EXPECT_TRUE(waitUntil([&] { return logger.use_count() == 1; })) << "something is still alive";
    network.reset();
  }

  std::atomic<std::size_t> answered = 0;
  std::atomic<std::size_t> wrong = 0;
  const std::shared_ptr<hostkit::MemoryCache> cache = std::make_shared<hostkit::MemoryCache>();
  const std::shared_ptr<testkit::SilentLogger> logger = std::make_shared<testkit::SilentLogger>();
  std::shared_ptr<tests::ThreadedNetwork> network = std::make_shared<tests::ThreadedNetwork>(4);
};

TEST_F(CatalogStressTest, TenThousandQuestionsInFlightAreEachAnsweredOnceAndTakeNoThreads) {
  const auto total = static_cast<std::size_t>(tests::longForm("VELLORA_TEST_LOOKUPS").value_or(10'000));
  Catalogs catalogs;
  while (catalogs.size() < 4) catalogs.push_back(newCatalog());
  std::deque<Asked> first(100);
  for (std::size_t i = 0; i < first.size(); ++i) ask(*catalogs.front(), first.at(i), i, 1h);
  const auto threadsWithFew = threadsOfTheProcess();

  std::array<std::deque<Asked>, threadCount> asked;
  onThreads([&](std::size_t thread) {
    for (std::size_t number = thread; number < total; number += threadCount) {
      ask(*catalogs.at(number % catalogs.size()), asked.at(thread).emplace_back(), number, 1h);
    }
  });
  EXPECT_EQ(answered, 0U) << "all of them are in flight";
  // The system may count a thread for a while that has been joined.
  EXPECT_TRUE(waitUntil([&] { return threadsOfTheProcess() <= threadsWithFew; })) << "more than before";

  network->open();
  EXPECT_TRUE(waitUntil([&] { return answered == total + first.size(); })) << answered << " answers";
  catalogs.clear();
  expectNothingAlive();
  for (const auto& share : asked) {
    for (const auto& one : share) ASSERT_EQ(one.answers, 1);
  }
  EXPECT_EQ(wrong, 0U);
  std::cout << "questions in flight: " << total + first.size() << ", answers " << answered << '\n';
}

// Deadlines come while the network answers, tokens are cancelled meanwhile, and then the catalogue goes.
TEST_F(CatalogStressTest, NothingComesOnceAQuestionIsCancelledOrItsCatalogueIsGone) {
  const auto rounds =
      static_cast<std::size_t>(tests::longForm("VELLORA_TEST_LOOKUPS").value_or(10'000)) / 100;
  network->open();
  std::atomic<int> late = 0;
  onThreads([&](std::size_t thread) {
    simulation::Draw draw(thread);
    for (std::size_t round = 0; round < rounds; ++round) {
      std::deque<Asked> asked(10);
      auto catalog = newCatalog();
      for (auto& one : asked) {
        const std::chrono::microseconds deadline(draw.below(2000));
        ask(*catalog, one, draw.below(5),
            draw.oneIn(2) ? TimedQueue::Delay(deadline) : TimedQueue::Delay(10s));
      }
      std::jthread canceller([&] {
        for (auto& one : asked) {
          one.token.cancel();
          one.isGivenUp = true;
        }
      });
      if (draw.oneIn(2)) canceller.join();
      catalog.reset();
      for (auto& one : asked) one.isGivenUp = true;
      if (canceller.joinable()) canceller.join();
      if (draw.oneIn(4)) cache->remove("OPS_Layout_Account");
      for (const auto& one : asked) late += one.late + (one.answers > 1 ? 1 : 0);
    }
  });
  EXPECT_EQ(late, 0);
  EXPECT_EQ(wrong, 0U);
  expectNothingAlive();
}

// Threads that block in `get` go on when the deadline comes, when the catalogue goes, and when the answer
// comes.
TEST_F(CatalogStressTest, ThreadsThatBlockGoOnAtTheirDeadlineOrWithTheCatalogue) {
  const auto catalog = newCatalog();
  auto doomed = newCatalog();
  std::array<std::optional<End>, threadCount> ends;
  std::atomic<int> asking = 0;
  std::jthread destroyer([&] {
    while (asking < static_cast<int>(threadCount)) std::this_thread::yield();
    doomed.reset();
  });
  onThreads([&](std::size_t thread) {
    const bool isDoomed = thread % 2 == 0;
    auto question =
        (isDoomed ? doomed : catalog)->types({"Account"}, {.deadline = isDoomed ? 1000s : 1ms * thread});
    ++asking;
    ends.at(thread) = std::move(question).get().end;
  });
  for (std::size_t thread = 0; thread < threadCount; ++thread) {
    EXPECT_EQ(ends.at(thread), thread % 2 == 0 ? End::cancelled : End::timedOut) << thread;
  }
}

}  // namespace
}  // namespace vellora
