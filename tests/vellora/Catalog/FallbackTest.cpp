#include "vellora/Catalog/Fallback.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <memory>
#include <stop_token>
#include <string>

#include "tests/vellora/Catalog/CatalogFixture.h"

namespace vellora {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testkit::StubNetwork;
using Reasons = std::map<std::string, std::string>;

constexpr const char* late = "The request was not answered in time.";

class FallbackTest : public tests::CatalogFixture {
 protected:
  /// Lets time pass until the deadline of `received`, which was asked just now.
  template <class T>
  void passDeadline(const std::shared_ptr<Received<T>>& received) {
    for (int i = 0; i < 9; ++i) step(1s);
    EXPECT_EQ(received->calls, 0);
    step(1s);
    EXPECT_EQ(received->calls, 1);
  }

  void step(TimedQueue::Delay delay) {
    runAll();
    timer->advance(delay);
    runAll();
  }

  /// Headlines of accounts, which refer to users.
  void answerHeadlines() {
    network->answerPrefix(
        "/services/data/v53.0/compactLayouts",
        StubNetwork::body(
            R"({"Account":{"objectType":"Account","fieldItems":[{"label":"Owner","layoutComponents":[)"
            R"({"value":"OwnerId","details":{"label":"Owner","htmlFormatted":false,"type":"reference",)"
            R"("referenceTo":["User"],"relationshipName":"Owner"}}]}]}})"));
  }

  static testkit::StubAnswer userNames() {
    return StubNetwork::body(
        R"({"records":[{"EntityDefinition":{"QualifiedApiName":"User"},"QualifiedApiName":"Name"}]})");
  }

  static std::string fieldOf(const Answer<ObjectCompactLayoutInfo>& answer) {
    return answer.found.at("Account").layoutFields.at(0)->apiName;
  }

  void hangBothLists() {
    network->answer(typesUrl, StubNetwork::never());
    network->answer(themesUrl, StubNetwork::never());
  }
};

TEST_F(FallbackTest, AServerThatHangsHidesNoRecordsThatAreCached) {
  constructAndLoad();
  const auto fetched = clock.date();
  clock.advance(7200);
  hangBothLists();
  const auto received = ask(catalog->types({"Account", "Nonesuch"}, {.deadline = 10s}));
  passDeadline(received);
  EXPECT_EQ(received->answer.end, End::timedOut);
  ASSERT_THAT(keysOf(received->answer.found), ElementsAre("Account"));
  EXPECT_EQ(received->answer.found.at("Account").typePresentationInfo.color, "FF0000");
  EXPECT_EQ(received->answer.ageOf("Account"), (Age{fetched, true}));
  EXPECT_EQ(reasonsOf(received->answer), (Reasons{{"Nonesuch", "timed out"}}));
  EXPECT_EQ(received->answer.trouble->text(), late);
  EXPECT_EQ(timer->pending(), 0U);
}

TEST_F(FallbackTest, AServerThatHangsHidesNoListOfTypesThatIsCached) {
  constructAndLoad();
  clock.advance(7200);
  hangBothLists();
  const auto received = ask(catalog->allTypes("a", {.deadline = 10s}));
  passDeadline(received);
  EXPECT_EQ(received->answer.end, End::timedOut);
  EXPECT_THAT(keysOf(received->answer.found), ElementsAre("Account", "Contact"));
  EXPECT_TRUE(received->answer.age.isStale);
  EXPECT_EQ(received->answer.trouble->text(), late);
}

TEST_F(FallbackTest, ThemesThatHangLeaveRecordsWithoutColours) {
  network->answer(themesUrl, StubNetwork::never());
  construct();
  const auto received = ask(catalog->records({"001xx"}, {.deadline = 10s}));
  passDeadline(received);
  ASSERT_THAT(keysOf(received->answer.found), ElementsAre("001xx"));
  EXPECT_EQ(received->answer.found.at("001xx").typePresentationInfo.label, "Account");
  EXPECT_FALSE(received->answer.found.at("001xx").typePresentationInfo.color);
}

TEST_F(FallbackTest, TypesThatComeLateCountWhenThemesHang) {
  network->answer(themesUrl, StubNetwork::never());
  network->answer(typesUrl, StubNetwork::body(typesBody()).held());
  construct();
  const auto received = ask(catalog->records({"001xx"}, {.deadline = 10s}));
  for (int i = 0; i < 8; ++i) step(1s);
  network->releaseAll();
  for (int i = 0; i < 2; ++i) step(1s);
  ASSERT_EQ(received->calls, 1);
  EXPECT_THAT(keysOf(received->answer.found), ElementsAre("001xx"));
}

TEST_F(FallbackTest, AServerThatHangsHidesNoLayoutsThatAreCached) {
  network->answerPrefix("/services/data/v53.0/compactLayouts",
                        StubNetwork::body(R"({"Account":{"objectType":"Account","fieldItems":[]}})"));
  network->answerPrefix("/services/data/v53.0/query", StubNetwork::body(R"({"records":[]})"));
  constructAndLoad();
  static_cast<void>(answered(catalog->headlines({"Account"})));
  clock.advance(7200);
  network->answerPrefix("/services/data/v53.0/compactLayouts", StubNetwork::never());
  const auto received = ask(catalog->headlines({"Account", "Contact"}, {.deadline = 10s}));
  passDeadline(received);
  EXPECT_THAT(keysOf(received->answer.found), ElementsAre("Account"));
  EXPECT_TRUE(received->answer.ageOf("Account").isStale);
  EXPECT_EQ(reasonsOf(received->answer), (Reasons{{"Contact", "timed out"}}));
  EXPECT_EQ(received->answer.trouble->text(), late);
}

TEST_F(FallbackTest, WhatComesInTimeCounts) {
  constructAndLoad();
  clock.advance(7200);
  network->answer(typesUrl, StubNetwork::body(typesBody()).held());
  const auto received = ask(catalog->types({"Account"}, {.deadline = 10s}));
  for (int i = 0; i < 9; ++i) step(1s);
  network->releaseAll();
  runAll();
  ASSERT_EQ(received->calls, 1);
  EXPECT_EQ(received->answer.end, End::answered);
  EXPECT_FALSE(received->answer.ageOf("Account").isStale);
  EXPECT_FALSE(received->answer.trouble);
  EXPECT_EQ(timer->pending(), 0U);
}

TEST_F(FallbackTest, AnEmptyCacheHasNothingToFallBackOn) {
  hangBothLists();
  construct();
  const auto received = ask(catalog->types({"Account"}, {.deadline = 10s}));
  passDeadline(received);
  EXPECT_THAT(received->answer.found, IsEmpty());
  EXPECT_EQ(reasonsOf(received->answer), (Reasons{{"Account", "timed out"}}));
}

TEST_F(FallbackTest, NameFieldsThatHangLeaveHeadlinesAsTheServerGaveThem) {
  answerHeadlines();
  network->answerPrefix("/services/data/v53.0/query", StubNetwork::never());
  constructAndLoad();
  const auto fetched = clock.date();
  const auto received = ask(catalog->headlines({"Account", "Contact"}, {.deadline = 10s}));
  passDeadline(received);
  EXPECT_EQ(received->answer.end, End::timedOut);
  ASSERT_THAT(keysOf(received->answer.found), ElementsAre("Account"));
  EXPECT_EQ(fieldOf(received->answer), "OwnerId");
  EXPECT_EQ(received->answer.ageOf("Account"), (Age{fetched, false}));
  EXPECT_EQ(reasonsOf(received->answer), (Reasons{{"Contact", "timed out"}}));
  EXPECT_EQ(received->answer.trouble->text(), late);
  EXPECT_FALSE(cache->load("OPS_CompactLayout_Account")) << "the next question is to try again";
}

TEST_F(FallbackTest, NameFieldsThatComeBehindADeadlineRewriteNoAnswer) {
  answerHeadlines();
  network->answerPrefix("/services/data/v53.0/query", userNames().held());
  constructAndLoad();
  const auto hasty = ask(catalog->headlines({"Account"}, {.deadline = 10s}));
  const auto patient = ask(catalog->headlines({"Account"}, {.deadline = 60s}));
  passDeadline(hasty);
  network->releaseAll();
  runAll();
  EXPECT_EQ(fieldOf(hasty->answer), "OwnerId");
  ASSERT_EQ(patient->calls, 1);
  EXPECT_EQ(fieldOf(patient->answer), "Owner.Name");
}

TEST_F(FallbackTest, WhatWaitsForNameFieldsIsNotInTheCache) {
  answerHeadlines();
  network->answerPrefix("/services/data/v53.0/query", StubNetwork::never());
  constructAndLoad();
  const auto pending = ask(catalog->headlines({"Account"}, {.deadline = 60s}));
  runAll();
  EXPECT_EQ(reasonsOf(answered(catalog->headlines({"Account"}, {.source = Source::cacheOnly}))),
            (Reasons{{"Account", "not in the cache"}}));
}

TEST_F(FallbackTest, ThemesThatHangHideNotWhatAFreshListDoesNotKnow) {
  network->answer(themesUrl, StubNetwork::never());
  construct();
  const auto types = ask(catalog->types({"Account", "Nonesuch"}, {.deadline = 10s}));
  const auto records = ask(catalog->records({"001xx", "999xx"}, {.deadline = 10s}));
  passDeadline(types);
  EXPECT_EQ(reasonsOf(types->answer), (Reasons{{"Nonesuch", "unknown to the server"}}));
  EXPECT_EQ(reasonsOf(records->answer), (Reasons{{"999xx", "unknown to the server"}}));
  EXPECT_EQ(types->answer.end, End::timedOut);
}

TEST_F(FallbackTest, WhereTheServerIsToBeAskedFirstOnlyItSaysWhatItDoesNotKnow) {
  constructAndLoad();
  hangBothLists();
  const auto received =
      ask(catalog->types({"Account", "Nonesuch"}, {.deadline = 10s, .source = Source::serverFirst}));
  passDeadline(received);
  EXPECT_THAT(keysOf(received->answer.found), ElementsAre("Account"));
  EXPECT_EQ(reasonsOf(received->answer), (Reasons{{"Nonesuch", "timed out"}}));
}

TEST_F(FallbackTest, OnlyADeadlineFallsBackOnTheCache) {
  constructAndLoad();
  clock.advance(7200);
  hangBothLists();
  std::stop_source stop;
  const auto token = stop.get_token();
  const auto received = ask(catalog->types({"Account"}, {.deadline = 10s, .stop = token}));
  for (int i = 0; i < 6; ++i) step(1s);
  stop.request_stop();
  runAll();
  ASSERT_EQ(received->calls, 1);
  EXPECT_EQ(received->answer.end, End::cancelled);
  EXPECT_THAT(received->answer.found, IsEmpty());
  EXPECT_EQ(reasonsOf(received->answer), (Reasons{{"Account", "cancelled"}}));
}

}  // namespace
}  // namespace vellora
