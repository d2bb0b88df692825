#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/bodies/KeptBodies.h"
#include "tests/hostkit/bodies/BodiesCache.h"
#include "tests/hostkit/network/CurlNetworkConditionFixture.h"
#include "tests/hostkit/network/PackedLetters.h"

namespace vellora::hostkit {
namespace {

using CurlNetworkConditionTest = CurlNetworkConditionFixture;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using tests::NetworkAnswer;
using tests::ScriptedServer;

TEST_F(CurlNetworkConditionTest, WhatHasNotChangedIsAnsweredWithTheBodyThatWasKept) {
  server.reply(tagged("themes"));
  server.reply(unchanged({"ETag: \"1\"", "X-From: second"}));
  EXPECT_EQ(ask("/theme").body(), "themes");
  const NetworkAnswer again = ask("/theme");
  EXPECT_EQ(again.body(), "themes");
  EXPECT_EQ(again.status(), 200);
  EXPECT_FALSE(again.error);
  EXPECT_EQ(again.response->url, server.url() + "/theme");
  EXPECT_EQ(again.response->headers.at("x-from"), "second");
  EXPECT_EQ(conditionOf(0), "");
  EXPECT_EQ(conditionOf(1), "If-None-Match: \"1\"");
}

TEST_F(CurlNetworkConditionTest, HeadersThatANotModifiedLeavesOutAreThoseThatWereKept) {
  server.reply(ScriptedServer::http("200 OK", "themes", {"ETag: \"1\"", "Content-Type: text/plain"}));
  server.reply(unchanged());
  ask("/theme");
  const NetworkAnswer again = ask("/theme");
  ASSERT_TRUE(again.response);
  EXPECT_EQ(again.response->headers, (CorvaneSDK::Meta{{"content-type", "text/plain"}, {"etag", "\"1\""}}));
}

TEST_F(CurlNetworkConditionTest, ANotModifiedThatTheCallerAskedForIsAnOrdinaryErrorStatus) {
  URLRequest request = tests::get("/theme").base();
  request.headers = {{"If-None-Match", "\"1\""}};
  server.reply(unchanged());
  const NetworkAnswer answer = tests::answerTo(*network, CorvaneSDK::NetRequest(request));
  expectError(answer, Kind::errorStatus);
  EXPECT_EQ(answer.error->localizedDescription(), "304 for /theme: Not Modified");
}

TEST_F(CurlNetworkConditionTest, TheObserverIsToldThatNothingHasComeOverTheWire) {
  server.reply(tagged("themes"));
  server.reply(unchanged());
  ask("/theme");
  ask("/theme");
  network.reset();
  ASSERT_EQ(outcomes.size(), 2U);
  EXPECT_EQ(outcomes[0].statusCode, 200);
  EXPECT_EQ(outcomes[0].receivedBytes, 6U);
  EXPECT_EQ(outcomes[1].statusCode, 304);
  EXPECT_EQ(outcomes[1].receivedBytes, 0U);
  EXPECT_EQ(outcomes[1].bytes, 6U);
}

TEST_F(CurlNetworkConditionTest, WhatHasChangedTakesThePlaceOfWhatWasKept) {
  server.reply(tagged("old"));
  server.reply(tagged("new", "\"2\""));
  server.reply(unchanged());
  ask("/theme");
  EXPECT_EQ(ask("/theme").body(), "new");
  EXPECT_EQ(ask("/theme").body(), "new");
  EXPECT_EQ(conditionOf(2), "If-None-Match: \"2\"");
}

TEST_F(CurlNetworkConditionTest, ABodyIsKeptBeforeItsAnswerIsOut) {
  server.reply(tagged("themes"));
  std::promise<std::size_t> kept;
  network->sendRequest(tests::get("/theme"), [&](auto, auto, auto) {
    const auto rows = host.table->load(CorvaneSDK::Query::exact(BodiesCache::ofKind(KeptBodies::bodyKind)));
    kept.set_value(rows.size());
  });
  EXPECT_EQ(kept.get_future().get(), 1U);
}

TEST_F(CurlNetworkConditionTest, APackedBodyIsKeptPackedAndAnsweredUnpacked) {
  const std::string& packed = packedLetters;
  server.reply(ScriptedServer::http("200 OK", packed, {"ETag: \"1\"", "Content-Encoding: gzip"}));
  server.reply(unchanged());
  EXPECT_EQ(ask("/theme").body(), unpackedLetters);
  EXPECT_EQ(ask("/theme").body(), unpackedLetters);
  network.reset();
  EXPECT_EQ(outcomes.at(0).receivedBytes, packed.size());
  const auto stored = host.table->load(CorvaneSDK::Query::exact(BodiesCache::ofKind(KeptBodies::bodyKind)));
  ASSERT_EQ(stored.size(), 1U);
  EXPECT_THAT(std::string(stored[0].view()), testing::EndsWith(packed));
}

TEST_F(CurlNetworkConditionTest, ADateServesWhereThereIsNoTag) {
  const std::string date = "Sun, 06 Nov 1994 08:49:37 GMT";
  server.reply(ScriptedServer::http("200 OK", "themes", {"Last-Modified: " + date}));
  server.reply(unchanged());
  ask("/theme");
  EXPECT_EQ(ask("/theme").body(), "themes");
  EXPECT_EQ(conditionOf(1), "If-Modified-Since: " + date);
}

TEST_F(CurlNetworkConditionTest, AKeptBodyServesTheNextNetworkOnThatCache) {
  server.reply(tagged("themes"));
  server.reply(unchanged());
  ask("/theme");
  remake(keeping());
  EXPECT_EQ(ask("/theme").body(), "themes");
}

TEST_F(CurlNetworkConditionTest, OnePathsBodyNeverAnswersAnothers) {
  server.reply(tagged("themes"));
  server.reply(tagged("types"));
  server.reply(unchanged());
  ask("/theme");
  EXPECT_EQ(ask("/sobjects").body(), "types");
  EXPECT_EQ(conditionOf(1), "");
  EXPECT_EQ(ask("/theme").body(), "themes");
}

TEST_F(CurlNetworkConditionTest, OneTokensBodyNeverAnswersAnothers) {
  server.reply(tagged("of the first"));
  server.reply(tagged("of the second"));
  server.reply(unchanged());
  ask("/theme");
  token = "secret-token-2";
  EXPECT_EQ(ask("/theme").body(), "of the second");
  EXPECT_EQ(conditionOf(1), "");
  token = "secret-token-1";
  EXPECT_EQ(ask("/theme").body(), "of the first");
}

TEST_F(CurlNetworkConditionTest, ATokenThatIsRenewedAsksForItsOwnBody) {
  server.reply(tagged("of the first"));
  server.reply(ScriptedServer::http("401 Unauthorized"));
  server.reply(tagged("of the second"));
  auto options = keeping();
  options.renewedToken = [](const std::string&) { return "secret-token-2"; };
  remake(options);
  ask("/theme");
  EXPECT_EQ(ask("/theme").body(), "of the second");
  EXPECT_EQ(conditionOf(1), "If-None-Match: \"1\"");
  EXPECT_EQ(conditionOf(2), "");
}

TEST_F(CurlNetworkConditionTest, AUsersBodyOutlivesTheToken) {
  auto options = keeping();
  options.bodiesOf = "records.example somebody";
  remake(options);
  server.reply(tagged("themes"));
  server.reply(unchanged());
  ask("/theme");
  token = "secret-token-2";
  EXPECT_EQ(ask("/theme").body(), "themes");
}

TEST_F(CurlNetworkConditionTest, ANotModifiedThatNobodyAskedForIsAClearError) {
  server.reply(unchanged());
  const NetworkAnswer answer = ask("/theme");
  expectError(answer, Kind::errorStatus);
  EXPECT_EQ(
      answer.error->localizedDescription(),
      "304 for /theme, that nothing has changed, which nobody has asked; check the server, and what stands "
      "before it");
  EXPECT_FALSE(answer.errorAs<CurlNetworkError>()->retryAdvice());
}

TEST_F(CurlNetworkConditionTest, ANotModifiedAboutAnotherBodyIsAskedAnewWithoutACondition) {
  server.reply(tagged("themes"));
  server.reply(unchanged({"ETag: \"of another\""}));
  server.reply(tagged("changed", "\"2\""));
  ask("/theme");
  EXPECT_EQ(ask("/theme").body(), "changed");
  EXPECT_EQ(conditionOf(1), "If-None-Match: \"1\"");
  EXPECT_EQ(conditionOf(2), "");
}

TEST_F(CurlNetworkConditionTest, AServerThatInsistsOnAnotherBodyGetsAnError) {
  server.reply(tagged("themes"));
  server.replyAlways(unchanged({"ETag: \"of another\""}));
  ask("/theme");
  expectError(ask("/theme"), Kind::errorStatus);
  EXPECT_EQ(server.requests().size(), 3U);
}

TEST_F(CurlNetworkConditionTest, ADamagedBodyIsAskedForWithoutACondition) {
  server.reply(tagged("themes"));
  server.reply(tagged("themes again"));
  ask("/theme");
  network.reset();  // what it keeps is kept by then
  host.replaceStoredBody(Data(std::string("vellora-body 1 0 0 ")), KeptBodies::bodyKind);
  remake(keeping());
  EXPECT_EQ(ask("/theme").body(), "themes again");
  EXPECT_EQ(conditionOf(1), "");
}

TEST_F(CurlNetworkConditionTest, AKeptBodyThatIsTooLargeByNowIsAskedForAnew) {
  server.reply(tagged("all of the themes"));
  server.reply(unchanged());
  server.reply(tagged("fewer", "\"2\""));
  ask("/theme");
  auto options = keeping();
  options.maxBodyBytes = 10;
  remake(options);
  EXPECT_EQ(ask("/theme").body(), "fewer");
  EXPECT_EQ(conditionOf(2), "");
}

TEST_F(CurlNetworkConditionTest, NothingIsKeptOfHalfABodyOrAFailure) {
  server.reply({"HTTP/1.1 200 OK\r\nETag: \"1\"\r\nContent-Length: 10\r\n\r\nhalf", Then::close});
  server.reply(ScriptedServer::http("500 Broken", "broken", {"ETag: \"1\""}));
  server.reply(ScriptedServer::http("200 OK", "not gzip", {"ETag: \"1\"", "Content-Encoding: gzip"}));
  server.reply(tagged("themes"));
  for (int time = 0; time < 3; ++time) EXPECT_TRUE(ask("/theme").error);
  EXPECT_EQ(ask("/theme").body(), "themes");
  for (std::size_t number = 0; number < 4; ++number) EXPECT_EQ(conditionOf(number), "");
}

// The library refuses such a body; kept, it would be the answer until the tag changes.
TEST_F(CurlNetworkConditionTest, ABodyThatIsSaidToBeJsonAndIsCutOffIsNotKept) {
  const std::string head = "HTTP/1.1 200 OK\r\nETag: \"1\"\r\nContent-Type: application/json\r\n";
  server.reply({head + "Connection: close\r\n\r\n{\"themeItems\":[", Then::close});
  server.reply({head + "Content-Length: 2\r\n\r\n[]"});
  server.reply(unchanged());
  EXPECT_EQ(ask("/theme").body(), "{\"themeItems\":[");
  EXPECT_EQ(ask("/theme").body(), "[]");
  EXPECT_EQ(ask("/theme").body(), "[]");
  EXPECT_EQ(conditionOf(1), "");
  EXPECT_EQ(conditionOf(2), "If-None-Match: \"1\"");
}

TEST_F(CurlNetworkConditionTest, WhatMustNotBeStoredIsNotKept) {
  server.reply(ScriptedServer::http("200 OK", "themes", {"ETag: \"1\"", "Cache-Control: no-store"}));
  server.reply(ScriptedServer::http("200 OK", "themes", {"ETag: \"1\"", "Vary: *"}));
  server.reply(tagged("themes"));
  for (int time = 0; time < 3; ++time) ask("/theme");
  EXPECT_EQ(conditionOf(1), "");
  EXPECT_EQ(conditionOf(2), "");
}

TEST_F(CurlNetworkConditionTest, ARedirectIsFollowedWithTheConditionOfWhereItLeads) {
  const auto moved = ScriptedServer::http("302 Found", "", {"Location: /there", "ETag: \"moved\""});
  server.reply(moved);
  server.reply(tagged("there"));
  server.reply(moved);
  server.reply(unchanged());
  EXPECT_EQ(ask("/here").body(), "there");
  EXPECT_EQ(ask("/here").body(), "there");
  EXPECT_EQ(conditionOf(2), "");
  EXPECT_EQ(conditionOf(3), "If-None-Match: \"1\"");
}

TEST_F(CurlNetworkConditionTest, ARequestOnAFreshConnectionKeepsItsCondition) {
  server.reply(tagged("themes"));
  server.reply({ScriptedServer::http("408 Request Timeout", "", {"Connection: close"}).bytes, Then::close});
  server.reply(unchanged());
  ask("/theme");
  EXPECT_EQ(ask("/theme").body(), "themes");
  EXPECT_EQ(conditionOf(2), "If-None-Match: \"1\"");
}

TEST_F(CurlNetworkConditionTest, ANotModifiedWithABodyIsAnsweredWithTheKeptOne) {
  server.reply(tagged("themes"));
  server.reply({"HTTP/1.1 304 Not Modified\r\nContent-Length: 5\r\n\r\nwrong"});
  server.reply(tagged("right", "\"2\""));
  ask("/theme");
  EXPECT_EQ(ask("/theme").body(), "themes");
  EXPECT_EQ(ask("/theme").body(), "right");
}

TEST_F(CurlNetworkConditionTest, NeitherRowsNorConditionsTellTheToken) {
  server.reply(tagged("themes"));
  server.reply(unchanged());
  ask("/theme");
  ask("/theme");
  EXPECT_THAT(conditionOf(1), Not(HasSubstr("secret")));
  const auto rows = host.table->fetch(CorvaneSDK::Query::oldest({}));
  ASSERT_EQ(rows.size(), 2U);  // the body and the digest's key
  for (const auto& row : rows) {
    EXPECT_THAT(row.dataKey, AllOf(Not(HasSubstr("secret")), Not(HasSubstr("theme"))));
    for (const auto& [name, value] : row.meta) EXPECT_THAT(value, Not(HasSubstr("secret"))) << name;
  }
  for (const auto& data : host.table->load(CorvaneSDK::Query::oldest({}))) {
    EXPECT_THAT(std::string(data.view()), Not(HasSubstr("secret")));
  }
}

TEST_F(CurlNetworkConditionTest, WithoutACacheNoRequestHasACondition) {
  remake({.server = server.url()});
  server.replyAlways(tagged("themes"));
  ask("/theme");
  ask("/theme");
  EXPECT_EQ(conditionOf(1), "");
}

}  // namespace
}  // namespace vellora::hostkit
