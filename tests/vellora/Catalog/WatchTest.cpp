#include "vellora/Catalog/Watch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/AllocationCounter.h"
#include "tests/vellora/Catalog/CatalogFixture.h"
#include "vellora/Platform/Queues/DispatchQueue.h"

namespace vellora {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testkit::StubNetwork;
using Found = Answer<ObjectPresentationInfo>;

/// Runs work where it is submitted.
class HereQueue final : public DispatchQueue {
 public:
  void async(Work work) override { work(); }
  [[nodiscard]] bool runsHere() const override { return false; }
};

class WatchTest : public tests::CatalogFixture {
 protected:
  WatchTest() { constructAndLoad(); }

  static std::string account(const std::string& label) {
    return R"({"sobjects":[{"name":"Account","keyPrefix":"001","label":")" + label +
           R"(","labelPlural":"As","createable":true}]})";
  }

  /// Keeps the labels of "Account", or why there is none.
  [[nodiscard]] QuestionToken watchAccount() {
    return catalog->watch([this] { return catalog->types({"Account"}); },
                          [this](const Found& answer) { note(answer); });
  }

  void note(const Found& answer) {
    const auto found = answer.found.find("Account");
    told.push_back(found != answer.found.end() ? found->second.typePresentationInfo.label.value_or("")
                                               : answer.missing.at("Account").text());
  }

  void refreshWith(const testkit::StubAnswer& types) {
    network->answer(typesUrl, types);
    static_cast<void>(answered(catalog->refresh()));
  }

  std::vector<std::string> told;
};

TEST_F(WatchTest, AnswersAtOnceAndAfterEachRefreshThatChangedTheAnswer) {
  const auto token = watchAccount();
  EXPECT_THAT(told, IsEmpty()) << "never inside the call";
  runAll();
  EXPECT_THAT(told, ElementsAre("Account"));
  refreshWith(StubNetwork::body(typesBody()));
  EXPECT_THAT(told, ElementsAre("Account")) << "nothing has changed";
  refreshWith(StubNetwork::body(account("Firm")));
  EXPECT_THAT(told, ElementsAre("Account", "Firm"));
  refreshWith(StubNetwork::body(R"({"sobjects":[]})"));
  EXPECT_THAT(told, ElementsAre("Account", "Firm", "unknown to the server"));
}

TEST_F(WatchTest, OneThatIsGivenUpTakesNoOtherWithIt) {
  const auto token = watchAccount();
  {
    auto other = catalog->watch([this] { return catalog->types({"Account"}); },
                                [](const Found&) { FAIL() << "it was given up"; });
    other.cancel();
  }
  runAll();
  refreshWith(StubNetwork::body(account("Firm")));
  EXPECT_THAT(told, ElementsAre("Account", "Firm"));
}

TEST_F(WatchTest, ARefreshThatFailsIsNoChange) {
  const auto token = watchAccount();
  runAll();
  refreshWith(down());
  EXPECT_THAT(told, ElementsAre("Account"));
}

TEST_F(WatchTest, TellsOfLayoutsThatWereFetchedAnew) {
  const std::string url = "/services/data/v50.0/search/layout?q=Account";
  network->answer(url, StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])"));
  std::vector<std::size_t> columns;
  const auto token = catalog->watch([this] { return catalog->searchColumns({"Account"}); },
                                    [&](const Answer<ObjectLayoutInfo>& answer) {
                                      columns.push_back(answer.found.at("Account").searchColumns.size());
                                    });
  runAll();
  clock.advance(1);
  network->answer(url, down());
  static_cast<void>(answered(catalog->refresh()));
  EXPECT_THAT(columns, ElementsAre(0U)) << "what could not be found out is no change";
  clock.advance(1);
  network->answer(
      url,
      StubNetwork::body(
          R"([{"objectType":"Account","searchColumns":[{"name":"Name","label":"Name","field":"Name"}]}])"));
  static_cast<void>(answered(catalog->refresh()));
  EXPECT_THAT(columns, ElementsAre(0U, 1U));
}

TEST_F(WatchTest, TellsWhatIsGoneFromAllTypes) {
  std::vector<std::size_t> counts;
  const auto token = catalog->watch([this] { return catalog->allTypes(); },
                                    [&](const Found& answer) { counts.push_back(answer.found.size()); });
  runAll();
  refreshWith(StubNetwork::body(account("Account")));
  EXPECT_THAT(counts, ElementsAre(3U, 1U));
}

TEST_F(WatchTest, AnAnswerThatIsUnderWayIsToldBeforeItAsksAgain) {
  network->answer(listViewUrl("00Bxx"), listViewAnswer("Contact").held());
  std::vector<std::string> listed;
  const auto token =
      catalog->watch([this] { return catalog->records({"00Bxx"}); },
                     [&](const Found& answer) {
                       EXPECT_EQ(answer.end, End::answered);
                       listed.push_back(answer.found.at("00Bxx").instancePresentationInfo->apiName());
                     });
  runAll();
  static_cast<void>(answered(catalog->refresh()));
  static_cast<void>(answered(catalog->refresh()));
  EXPECT_THAT(listed, IsEmpty());
  network->answer(listViewUrl("00Bxx"), listViewAnswer("Account"));
  network->releaseAll();
  runAll();
  EXPECT_THAT(listed, ElementsAre("Contact", "Account")) << "what was asked before a refresh is not new";
}

TEST_F(WatchTest, AfterCancellingNothingIsToldOrAsked) {
  auto token = watchAccount();
  token.cancel();
  runAll();
  EXPECT_THAT(told, IsEmpty());
  int asked = 0;
  auto second = catalog->watch(
      [&] {
        ++asked;
        return catalog->types({"Account"});
      },
      [this](const Found& answer) { note(answer); });
  runAll();
  network->answer(typesUrl, StubNetwork::body(account("Firm")));
  const auto refreshing = ask(catalog->refresh());
  queues.runAll();
  second.cancel();
  runAll();
  EXPECT_EQ(asked, 1);
  EXPECT_THAT(told, ElementsAre("Account"));
  EXPECT_EQ(timer->pending(), 0U);
}

TEST_F(WatchTest, MayBeCancelledInItsCallback) {
  QuestionToken token;
  token = catalog->watch([this] { return catalog->types({"Account"}); },
                         [&](const Found& answer) {
                           note(answer);
                           token.cancel();
                         });
  runAll();
  refreshWith(StubNetwork::body(account("Firm")));
  EXPECT_THAT(told, ElementsAre("Account"));
}

TEST_F(WatchTest, ItsCallbackMayDestroyTheCatalogue) {
  const auto token = catalog->watch([this] { return catalog->types({"Account"}); },
                                    [&](const Found& answer) {
                                      note(answer);
                                      catalog.reset();
                                    });
  runAll();
  EXPECT_FALSE(catalog);
  EXPECT_THAT(told, ElementsAre("Account"));
}

TEST_F(WatchTest, NothingIsToldOnceTheCatalogueIsDestroyed) {
  watchAccount().detach();
  queues.runAll();
  catalog.reset();
  runAll();
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(WatchTest, ADetachedOneLastsAsLongAsTheCatalogue) {
  watchAccount().detach();
  runAll();
  refreshWith(StubNetwork::body(account("Firm")));
  EXPECT_THAT(told, ElementsAre("Account", "Firm"));
}

TEST_F(WatchTest, AfterForgettingTheNextRefreshIsToldInAnyCase) {
  const auto token = watchAccount();
  runAll();
  catalog->forget();
  runAll();
  EXPECT_THAT(told, ElementsAre("Account")) << "forgetting asks nothing";
  static_cast<void>(answered(catalog->refresh()));
  EXPECT_THAT(told, ElementsAre("Account", "Account"));
}

TEST_F(WatchTest, AQuestionThatForgettingGaveUpIsNotTold) {
  const std::string url = "/services/data/v50.0/search/layout?q=Account";
  network->answer(url, StubNetwork::body(R"([{"objectType":"Account","searchColumns":[]}])"));
  std::vector<End> ends;
  const auto token =
      catalog->watch([this] { return catalog->searchColumns({"Account"}); },
                     [&](const Answer<ObjectLayoutInfo>& answer) { ends.push_back(answer.end); });
  runAll();
  clock.advance(1);
  network->answer(url, StubNetwork::never());
  static_cast<void>(answered(catalog->refresh()));
  EXPECT_EQ(network->count(url), 2U);
  catalog->forget();
  runAll();
  EXPECT_THAT(ends, ElementsAre(End::answered));
}

TEST_F(WatchTest, ForgettingWithoutMemoryLeavesACatalogueThatAnswers) {
  const auto token = watchAccount();
  runAll();
  bool hasFailed = true;
  for (std::size_t number = 1; hasFailed; ++number) {
    {
      const tests::AllocationFailure failure(number);
      try {
        catalog->forget();
      } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): what it leaves is looked at
      }
      hasFailed = failure.happened();
    }
    runAll();
    EXPECT_EQ(answered(catalog->types({"Account"})).end, End::answered) << number;
  }
}

TEST_F(WatchTest, ARefreshThatEndsWhileItAsksForTheFirstTimeDoesNotSilenceIt) {
  catalogOptions.answersOn = std::make_shared<HereQueue>();
  constructAndLoad();
  bool isFirst = true;
  const auto token = catalog->watch(
      [&] {
        auto question = catalog->types({"Account"});
        if (std::exchange(isFirst, false)) {  // answered, and a refresh ends, before anybody waits for it
          runAll();
          refreshWith(StubNetwork::body(account("Firm")));
        }
        return question;
      },
      [this](const Found& answer) { note(answer); });
  runAll();
  EXPECT_THAT(told, ElementsAre("Account", "Firm"));
  refreshWith(StubNetwork::body(account("Shop")));
  EXPECT_THAT(told, ElementsAre("Account", "Firm", "Shop"));
}

TEST_F(WatchTest, MayBeCancelledWhileItAsksWithoutMemory) {
  QuestionToken token;
  int asked = 0;
  token = catalog->watch(
      [&] {
        if (++asked == 2) {
          const tests::AllocationFailure failure(1, tests::AllocationFailure::Extent::allFromThereOn);
          EXPECT_NO_THROW(token.cancel());
          EXPECT_FALSE(failure.happened());
        }
        return catalog->types({"Account"});
      },
      [this](const Found& answer) { note(answer); });
  runAll();
  refreshWith(StubNetwork::body(account("Firm")));
  EXPECT_EQ(asked, 2);
  EXPECT_THAT(told, ElementsAre("Account"));
  EXPECT_EQ(timer->pending(), 0U);
}

TEST_F(WatchTest, TellsNothingOfAnotherCataloguesAnswerOnceItsOwnIsDestroyed) {
  Catalog other(std::make_shared<hostkit::StandardPlatformAPI>(network, cache, logger), catalogOptions);
  const auto token =
      catalog->watch([&] { return other.types({"Account"}); }, [this](const Found& answer) { note(answer); });
  queues.runAll();
  catalog.reset();
  runAll();
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(WatchTest, NameFieldsThatCouldNotBeFetchedAnewAreNoChange) {
  const auto headline = [](const std::string& label) {
    return StubNetwork::body(
        R"({"Account":{"objectType":"Account","fieldItems":[{"label":")" + label +
        R"(","layoutComponents":[{"value":"OwnerId","details":{"label":"Owner","htmlFormatted":false,)"
        R"("type":"reference","referenceTo":["User"],"relationshipName":"Owner"}}]}]}})");
  };
  network->answerPrefix("/services/data/v53.0/compactLayouts", headline("Owner"));
  network->answerPrefix("/services/data/v53.0/query",
                        StubNetwork::body(R"({"records":[{"EntityDefinition":{"QualifiedApiName":"User"},)"
                                          R"("QualifiedApiName":"Name"}]})"));
  std::vector<std::string> heads;
  const auto token = catalog->watch([this] { return catalog->headlines({"Account"}); },
                                    [&](const Answer<ObjectCompactLayoutInfo>& answer) {
                                      const auto& field = *answer.found.at("Account").layoutFields.at(0);
                                      heads.push_back(field.label + ": " + field.apiName);
                                    });
  runAll();
  network->answerPrefix("/services/data/v53.0/query", down());
  clock.advance(1);
  static_cast<void>(answered(catalog->refresh()));
  EXPECT_THAT(heads, ElementsAre("Owner: Owner.Name"));
  network->answerPrefix("/services/data/v53.0/compactLayouts", headline("Keeper"));
  clock.advance(1);
  static_cast<void>(answered(catalog->refresh()));
  EXPECT_THAT(heads, ElementsAre("Owner: Owner.Name", "Keeper: OwnerId")) << "another label is a change";
}

}  // namespace
}  // namespace vellora
