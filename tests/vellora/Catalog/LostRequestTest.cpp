#include <gtest/gtest.h>

#include <chrono>

#include "tests/vellora/Catalog/CatalogFixture.h"

// A host that drops a request's completion is asked again by the questions that come later.

namespace vellora {
namespace {

using namespace std::chrono_literals;
using testkit::StubNetwork;

class LostRequestTest : public tests::CatalogFixture {
 protected:
  static constexpr const char* headlinesUrl = "/services/data/v53.0/compactLayouts?q=Account";
  static constexpr const char* namesUrl = "/services/data/v53.0/query";

  static testkit::StubAnswer headlines() {
    return StubNetwork::body(R"({"Account":{"objectType":"Account","fieldItems":[]}})");
  }
  static testkit::StubAnswer noNames() { return StubNetwork::body(R"({"records":[]})"); }

  /// Lets `time` pass, and everything run.
  void pass(TimedQueue::Delay time) {
    timer->advance(time);
    runAll();
  }
};

TEST_F(LostRequestTest, QuestionsThatOverlapDoNotWaitForALostRequestForEver) {
  network->answer(typesUrl, StubNetwork::never());
  constructAndLoad();
  const auto first = ask(catalog->types({"Account"}));
  runAll();
  pass(5s);
  const auto second = ask(catalog->types({"Account"}));
  runAll();
  pass(5s);
  EXPECT_EQ(first->answer.end, End::timedOut);
  EXPECT_EQ(network->count(typesUrl), 1U);
  network->answer(typesUrl, StubNetwork::body(typesBody()));
  const auto third = ask(catalog->types({"Account"}));
  runAll();
  EXPECT_EQ(network->count(typesUrl), 2U);
  EXPECT_EQ(third->answer.found.size(), 1U);
  EXPECT_EQ(second->answer.found.size(), 1U) << "shares what comes first";
  EXPECT_EQ(catalog->readiness().text(), "ready");
}

TEST_F(LostRequestTest, OneThatWaitsToBeSentAgainIsNotLost) {
  constructAndLoad();
  network->answer(typesUrl, {busy(20s), StubNetwork::body(typesBody())});
  const auto first = ask(catalog->types({"Account"}, {.deadline = 60s, .source = Source::serverFirst}));
  runAll();
  pass(15s);
  const auto second = ask(catalog->types({"Account"}, {.source = Source::serverFirst}));
  runAll();
  EXPECT_EQ(network->count(typesUrl), 2U) << "the server wants to be left alone";
  pass(5500ms);
  EXPECT_EQ(network->count(typesUrl), 3U);
  EXPECT_EQ(first->answer.end, End::answered);
  EXPECT_EQ(second->answer.end, End::answered);
}

TEST_F(LostRequestTest, HeadlinesWhoseNameFieldsWaitToBeSentAgainAreNotLost) {
  constructAndLoad();
  network->answer(headlinesUrl, headlines());
  network->answerPrefix(namesUrl, busy(20s));
  const auto first = ask(catalog->headlines({"Account"}, {.deadline = 60s}));
  runAll();
  network->answerPrefix(namesUrl, noNames());
  pass(15s);
  const auto second = ask(catalog->headlines({"Account"}));
  runAll();
  EXPECT_EQ(network->count(headlinesUrl), 1U) << "the server wants to be left alone";
  pass(5500ms);
  EXPECT_EQ(first->answer.found.size(), 1U);
  EXPECT_EQ(second->answer.found.size(), 1U);
  EXPECT_EQ(network->count(headlinesUrl), 1U);
}

TEST_F(LostRequestTest, HeadlinesThatHaveComeAreASignOfLife) {
  constructAndLoad();
  network->answer(headlinesUrl, headlines().held());
  network->answerPrefix(namesUrl, noNames().held());
  const auto first = ask(catalog->headlines({"Account"}, {.deadline = 60s}));
  runAll();
  pass(8s);
  network->releaseAll();  // the name fields are asked for
  runAll();
  pass(8s);
  const auto second = ask(catalog->headlines({"Account"}));
  runAll();
  EXPECT_EQ(network->count(headlinesUrl), 1U);
  network->releaseAll();
  runAll();
  EXPECT_EQ(second->answer.found.size(), 1U);
}

}  // namespace
}  // namespace vellora
