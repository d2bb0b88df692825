// A question is asked, and at each moment until its answer is there one thing happens: its deadline comes, it
// is cancelled or stopped, the catalogue forgets or is destroyed. Queues, network and timer are stepped by
// hand.

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/ManualQueue.h"
#include "testkit/ManualTimer.h"
#include "testkit/SilentLogger.h"
#include "tests/faults/SmallServer.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"
#include "vellora/Catalog/Catalog.h"

namespace vellora::faults {
namespace {

using namespace std::chrono_literals;

/// What is told of an answer, whatever its type.
struct Told {
  End end;
  std::size_t keys;
};

/// A catalogue on a host of its own, and one question.
class Stage {
 public:
  using Tell = std::function<void(const Told& told)>;
  using Ask = std::function<QuestionToken(const Catalog& catalog, const QuestionOptions& options, Tell tell)>;

  /// A warm one begins with all in the cache.
  Stage(const Ask& ask, bool isWarm) {
    catalog = std::make_unique<Catalog>(host, CatalogOptions{.answersOn = answers, .timer = timer});
    const auto open = [&] {
      const auto token = stop.get_token();
      return ask(*catalog, {.deadline = 10s, .stop = token},
                 [this](const Told& one) { told.push_back(one); });
    };
    if (isWarm) {
      const auto first = open();
      settle();
      told.clear();
    }
    question = open();
  }
  ~Stage() {
    question = {};
    catalog.reset();
    settle();
  }
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  /// Does the next thing; false when nothing is left to do.
  bool step() { return answers->runNext() || queues.runNext() || server->answerNext(); }
  void settle() {
    while (step()) {
    }
  }

  tests::TestClock clock;
  tests::ManualQueues queues;
  const std::shared_ptr<SmallServer> server = std::make_shared<SmallServer>();
  const std::shared_ptr<testkit::ManualQueue> answers = std::make_shared<testkit::ManualQueue>();
  const std::shared_ptr<testkit::ManualTimer> timer = std::make_shared<testkit::ManualTimer>();
  const std::shared_ptr<hostkit::StandardPlatformAPI> host = std::make_shared<hostkit::StandardPlatformAPI>(
      server, std::make_shared<hostkit::MemoryCache>(), std::make_shared<testkit::SilentLogger>());
  std::stop_source stop;
  std::vector<Told> told;
  std::unique_ptr<Catalog> catalog;
  QuestionToken question;
};

/// A question by its name, and how many keys it accounts for when nothing happens.
struct Kind {
  std::string name;
  std::size_t keys;
  Stage::Ask ask;
};

template <class Question>
Kind kindOf(std::string name, std::size_t keys, Question question) {
  return {std::move(name), keys,
          [question](const Catalog& catalog, const QuestionOptions& options, Stage::Tell tell) {
            return question(catalog, options).then([tell = std::move(tell)](const auto& answer) {
              tell({answer.end, answer.found.size() + answer.missing.size()});
            });
          }};
}

const std::vector<Kind>& kinds() {
  using Options = const QuestionOptions&;
  static const std::vector<Kind> all{
      kindOf("records", 3,
             [](const Catalog& catalog, Options options) {
               return catalog.records({"001a", "00Bv", "zzz"}, options);
             }),
      kindOf("types", 2,
             [](const Catalog& catalog, Options options) {
               return catalog.types({"Account", "Nonsense"}, options);
             }),
      kindOf("allTypes", 3,
             [](const Catalog& catalog, Options options) { return catalog.allTypes("", options); }),
      kindOf("columns", 2,
             [](const Catalog& catalog, Options options) {
               return catalog.searchColumns({"Account", "Contact"}, options);
             }),
      kindOf("headlines", 2,
             [](const Catalog& catalog, Options options) {
               return catalog.headlines({"Account", "Contact"}, options);
             }),
      kindOf("refresh", 0, [](const Catalog& catalog, Options options) { return catalog.refresh(options); }),
  };
  return all;
}

class EachMomentTest : public testing::TestWithParam<std::size_t> {
 protected:
  /// Has `act(stage)` happen at each moment, lets the rest go on to its end, and calls `check(stage,
  /// answersBefore)`.
  template <class Act, class Check>
  void atEachMoment(Act act, Check check) {
    const Kind& kind = kinds().at(GetParam());
    for (const bool isWarm : {false, true}) {
      bool isOver = false;
      std::size_t moment = 0;
      for (; !isOver; ++moment) {
        SCOPED_TRACE(kind.name + (isWarm ? ", warm" : ", cold") + ", after " + std::to_string(moment) +
                     " steps");
        Stage stage(kind.ask, isWarm);
        for (std::size_t done = 0; done < moment && !isOver; ++done) isOver = !stage.step();
        const std::size_t before = stage.told.size();
        act(stage);
        stage.settle();
        check(stage, before);
        if (HasFailure()) return;
      }
      EXPECT_GT(moment, 3U) << "there are moments between the question and its answer";
    }
  }

  /// The question has ended once, as answered or else as `otherwise`, and each key is accounted for.
  void expectOneAnswer(const Stage& stage, End otherwise) const {
    const Kind& kind = kinds().at(GetParam());
    ASSERT_EQ(stage.told.size(), 1U);
    EXPECT_TRUE(stage.told.front().end == End::answered || stage.told.front().end == otherwise);
    const bool areKeysNamed = kind.name != "allTypes" && kind.name != "refresh";
    EXPECT_TRUE(!areKeysNamed || stage.told.front().keys == kind.keys);
    EXPECT_EQ(stage.timer->pending(), 0U) << "its deadline is left";
  }
};

TEST_P(EachMomentTest, TheDeadlineEndsItOnce) {
  atEachMoment([](Stage& stage) { stage.timer->advance(1h); },
               [this](const Stage& stage, std::size_t) { expectOneAnswer(stage, End::timedOut); });
}

TEST_P(EachMomentTest, AStopEndsItOnce) {
  atEachMoment([](Stage& stage) { stage.stop.request_stop(); },
               [this](const Stage& stage, std::size_t) { expectOneAnswer(stage, End::cancelled); });
}

TEST_P(EachMomentTest, ForgettingEndsItOnce) {
  atEachMoment([](Stage& stage) { stage.catalog->forget(); },
               [this](const Stage& stage, std::size_t) { expectOneAnswer(stage, End::cancelled); });
}

TEST_P(EachMomentTest, CancellingIsFinal) {
  atEachMoment([](Stage& stage) { stage.question.cancel(); },
               [](const Stage& stage, std::size_t before) { EXPECT_EQ(stage.told.size(), before); });
}

TEST_P(EachMomentTest, DestroyingTheCatalogueIsFinalAndLeavesNothing) {
  atEachMoment([](Stage& stage) { stage.catalog.reset(); },
               [](const Stage& stage, std::size_t before) {
                 EXPECT_EQ(stage.told.size(), before);
                 EXPECT_EQ(stage.timer->pending(), 0U);
               });
}

INSTANTIATE_TEST_SUITE_P(Questions, EachMomentTest, testing::Range(std::size_t{0}, kinds().size()),
                         [](const auto& kind) { return kinds().at(kind.param).name; });

}  // namespace
}  // namespace vellora::faults
