#include "hostkit/network/Revalidation.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "testkit/ForwardingCache.h"
#include "tests/hostkit/bodies/BodiesCache.h"

namespace vellora::hostkit {
namespace {

constexpr const char* theme = "https://records.example:443/theme";

class RevalidationTest : public testing::Test {
 protected:
  static ResponseHead head(const std::vector<std::string>& lines) {
    ResponseHead made;
    EXPECT_TRUE(made.takeLine("HTTP/1.1 200 OK\r\n"));
    for (const auto& line : lines) EXPECT_TRUE(made.takeLine(line + "\r\n"));
    EXPECT_TRUE(made.takeLine("\r\n"));
    return made;
  }

  [[nodiscard]] static CurlRequest requestWith(const std::vector<std::string>& lines) {
    return {.url = theme, .headerLines = lines, .timeout = 60, .token = ""};
  }

  /// The header lines that a new request goes out with.
  [[nodiscard]] std::vector<std::string> sentLines(const std::vector<std::string>& own = {
                                                       "Accept: */*"}) const {
    return Revalidation(bodies, secrets).withCondition(requestWith(own), theme).headerLines;
  }

  void keep(const std::string& tag, const std::string& text) const {
    Revalidation first(bodies, secrets);
    static_cast<void>(first.withCondition(requestWith({"Accept: */*"}), theme));
    first.note(200, head({"ETag: " + tag}), Data(text));
    first.keepNoted();
  }

  const BodiesCache host;
  const std::shared_ptr<KeptBodies> bodies = std::make_shared<KeptBodies>(host.cache, KeptBodies::Options());
  const std::shared_ptr<KnownSecrets> secrets = std::make_shared<KnownSecrets>();
};

TEST_F(RevalidationTest, WithoutBodiesARequestStaysAsItIs) {
  Revalidation none(nullptr, secrets);
  EXPECT_EQ(none.withCondition(requestWith({"Accept: */*"}), theme).headerLines,
            std::vector<std::string>{"Accept: */*"});
  EXPECT_FALSE(none.hasAsked());
  EXPECT_FALSE(none.mayKeep(200, head({"ETag: \"a\""})));
}

TEST_F(RevalidationTest, AsksForWhatWasKeptOnlyIfItHasChanged) {
  EXPECT_EQ(sentLines(), std::vector<std::string>{"Accept: */*"});
  keep("\"a\"", "themes");
  EXPECT_EQ(sentLines(), (std::vector<std::string>{"Accept: */*", "If-None-Match: \"a\""}));
}

TEST_F(RevalidationTest, LeavesARequestAloneThatHasAConditionOfItsOwn) {
  keep("\"a\"", "themes");
  EXPECT_EQ(sentLines({"Accept: */*", "If-None-Match: \"b\""}),
            (std::vector<std::string>{"Accept: */*", "If-None-Match: \"b\""}));
}

TEST_F(RevalidationTest, KeepsNoAnswerToAConditionOfTheRequestsOwn) {
  Revalidation asking(bodies, secrets);
  static_cast<void>(asking.withCondition(requestWith({"If-None-Match: \"b\""}), theme));
  EXPECT_FALSE(asking.mayKeep(200, head({"ETag: \"a\""})));
}

TEST_F(RevalidationTest, KeepsASuccessWithATagAlone) {
  Revalidation asking(bodies, secrets);
  static_cast<void>(asking.withCondition(requestWith({}), theme));
  EXPECT_TRUE(asking.mayKeep(200, head({"ETag: \"a\""})));
  for (const int status : {201, 204, 206, 304, 404, 503}) {
    EXPECT_FALSE(asking.mayKeep(status, head({"ETag: \"a\""}))) << status;
  }
  EXPECT_FALSE(asking.mayKeep(200, head({})));
}

TEST_F(RevalidationTest, ATagThatTellsATokenIsNotKept) {
  secrets->note("secret-token-1");
  Revalidation asking(bodies, secrets);
  static_cast<void>(asking.withCondition(requestWith({}), theme));
  EXPECT_FALSE(asking.mayKeep(200, head({"ETag: \"secret-token-1\""})));
  EXPECT_FALSE(asking.mayKeep(200, head({"ETag: \"a\"", "Content-Type: secret-token-1"})));
  EXPECT_TRUE(asking.mayKeep(200, head({"ETag: \"a\""})));
}

TEST_F(RevalidationTest, ANotModifiedStandsForTheBodyThatWasAskedAbout) {
  keep("\"a\"", "themes");
  Revalidation asking(bodies, secrets);
  static_cast<void>(asking.withCondition(requestWith({"Accept: */*"}), theme));
  ASSERT_NE(asking.confirmedBy(head({})), nullptr);
  EXPECT_EQ(asking.confirmedBy(head({}))->body.view(), "themes");
  EXPECT_EQ(asking.confirmedBy(head({"ETag: \"b\""})), nullptr);
}

TEST_F(RevalidationTest, WhatWasOfNoUseIsNotAskedAboutAgain) {
  keep("\"a\"", "themes");
  Revalidation asking(bodies, secrets);
  static_cast<void>(asking.withCondition(requestWith({"Accept: */*"}), theme));
  asking.giveUp();
  EXPECT_FALSE(asking.hasAsked());
  EXPECT_EQ(sentLines(), std::vector<std::string>{"Accept: */*"});
}

TEST_F(RevalidationTest, AnAnswerWithoutATagTakesTheKeptOneAway) {
  keep("\"a\"", "themes");
  Revalidation asking(bodies, secrets);
  static_cast<void>(asking.withCondition(requestWith({"Accept: */*"}), theme));
  asking.note(200, head({}), Data(std::string("changed")));
  asking.keepNoted();
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
}

TEST_F(RevalidationTest, ABodyOfWhichItIsNotKnownHowItCameIsNotKept) {
  Revalidation asking(bodies, secrets);
  static_cast<void>(asking.withCondition(requestWith({}), theme));
  asking.note(200, head({"ETag: \"a\"", "Content-Encoding: gzip"}), std::nullopt);
  asking.keepNoted();
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
}

TEST_F(RevalidationTest, WhatWasAskedForBeforeAForgetIsNotKept) {
  keep("\"a\"", "themes");
  Revalidation asked(bodies, secrets);
  host.forget();
  EXPECT_EQ(asked.withCondition(requestWith({"Accept: */*"}), theme).headerLines,
            std::vector<std::string>{"Accept: */*"});
  EXPECT_FALSE(asked.mayKeep(200, head({"ETag: \"a\""})));
  asked.note(200, head({"ETag: \"a\""}), Data(std::string("themes")));
  asked.keepNoted();
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
}

TEST_F(RevalidationTest, WhatWasAskedForFirstIsNotKeptBehindAForgetEither) {
  Revalidation asked(bodies, secrets);  // no body has been kept yet
  host.forget();
  static_cast<void>(asked.withCondition(requestWith({"Accept: */*"}), theme));
  EXPECT_FALSE(asked.mayKeep(200, head({"ETag: \"a\""})));
  asked.note(200, head({"ETag: \"a\""}), Data(std::string("themes")));
  asked.keepNoted();
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
}

TEST_F(RevalidationTest, WhatIsRedirectedBehindAForgetIsNotKept) {
  Revalidation asked(bodies, secrets);
  static_cast<void>(asked.withCondition(requestWith({"Accept: */*"}), theme));
  host.forget();
  static_cast<void>(asked.withCondition(requestWith({"Accept: */*"}), std::string(theme) + "/moved"));
  EXPECT_FALSE(asked.mayKeep(200, head({"ETag: \"a\""})));
  asked.note(200, head({"ETag: \"a\""}), Data(std::string("themes")));
  asked.keepNoted();
  EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
}

TEST_F(RevalidationTest, WhatIsRedirectedBehindAForgetAsksAboutNothingEither) {
  keep("\"a\"", "themes");
  Revalidation asked(bodies, secrets);
  static_cast<void>(asked.withCondition(requestWith({"Accept: */*"}), theme));
  EXPECT_TRUE(asked.hasAsked());
  host.forget();
  EXPECT_EQ(asked.withCondition(requestWith({"Accept: */*"}), theme).headerLines,
            std::vector<std::string>{"Accept: */*"});
  EXPECT_FALSE(asked.hasAsked());
}

TEST_F(RevalidationTest, WhatWasFoundOutForAnotherRequestIsForgotten) {
  keep("\"a\"", "themes");
  Revalidation asking(bodies, secrets);
  static_cast<void>(asking.withCondition(requestWith({"Accept: */*"}), theme));
  EXPECT_TRUE(asking.hasAsked());
  EXPECT_TRUE(asking.mayKeep(200, head({"ETag: \"b\""})));
  static_cast<void>(asking.withCondition(requestWith({"Authorization: Basic YWxpY2U6MQ=="}), theme));
  EXPECT_FALSE(asking.hasAsked());
  EXPECT_FALSE(asking.mayKeep(200, head({"ETag: \"b\""})));
}

TEST_F(RevalidationTest, WhatWasNotedOfAnotherAnswerIsForgotten) {
  keep("\"a\"", "themes");
  for (const std::string headerLine : {"ETag: \"b\"", "X-No-Tag: 1"}) {
    Revalidation asking(bodies, secrets);
    static_cast<void>(asking.withCondition(requestWith({"Accept: */*"}), theme));
    asking.note(200, head({headerLine}), Data(std::string("changed")));
    static_cast<void>(asking.withCondition(requestWith({"Accept: */*"}), theme));
    asking.keepNoted();
    EXPECT_EQ(sentLines(), (std::vector<std::string>{"Accept: */*", "If-None-Match: \"a\""})) << headerLine;
  }
}

TEST_F(RevalidationTest, WhatOthersHaveStoredIsNotSentUnlessAServerMayHaveSentIt) {
  secrets->note("secret-token-1");
  for (const CorvaneSDK::Meta& headers :
       {CorvaneSDK::Meta(), CorvaneSDK::Meta{{"etag", "\"a\"\r\nX-Evil: 1"}},
        CorvaneSDK::Meta{{"last-modified", "lately"}}, CorvaneSDK::Meta{{"etag", "\"secret-token-1\""}}}) {
    const auto place = bodies->placeOf(bodies->digestKey(), theme, {"Accept: */*"}).value();
    ASSERT_TRUE(bodies->save(place, {headers, Data(std::string("themes"))}));
    Revalidation asking(bodies, secrets);
    EXPECT_EQ(asking.withCondition(requestWith({"Accept: */*"}), theme).headerLines,
              std::vector<std::string>{"Accept: */*"});
    EXPECT_FALSE(asking.hasAsked());
    EXPECT_TRUE(asking.mayKeep(200, head({"ETag: \"b\""})));
    EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
  }
}

TEST_F(RevalidationTest, OneUsersCredentialsNeverAskAboutAnothersBody) {
  const auto ofAHost = std::make_shared<KeptBodies>(host.cache, KeptBodies::Options{.user = "the host's"});
  for (const auto& each : {ofAHost, bodies}) {
    Revalidation first(each, secrets);
    const std::vector<std::string> ofOne{"Authorization: Basic YWxpY2U6MQ=="};
    EXPECT_EQ(first.withCondition(requestWith(ofOne), theme).headerLines, ofOne);
    EXPECT_FALSE(first.mayKeep(200, head({"ETag: \"v5\""})));
    first.note(200, head({"ETag: \"v5\""}), Data(std::string("hers")));
    first.keepNoted();
    EXPECT_EQ(host.rowsOf(KeptBodies::bodyKind), 0U);
    Revalidation second(each, secrets);
    const std::vector<std::string> ofOther{"authorization: Basic Ym9iOjE="};
    EXPECT_EQ(second.withCondition(requestWith(ofOther), theme).headerLines, ofOther);
    EXPECT_FALSE(second.hasAsked());
  }
}

TEST_F(RevalidationTest, SaysHowLargeABodyMayBe) {
  EXPECT_EQ(Revalidation(bodies, secrets).mostKept(), bodies->mostOfOne());
  EXPECT_GT(bodies->mostOfOne(), 4'000'000U);
  EXPECT_EQ(Revalidation(nullptr, secrets).mostKept(), 0U);
}

/// A cache that finds no memory at the call of that number.
class MemorylessCache : public testkit::ForwardingCache {
 public:
  using ForwardingCache::ForwardingCache;

  std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) override {
    if (calls++ == failing) throw std::bad_alloc();
    return ForwardingCache::openTable(tableKey);
  }

  int calls = 0;
  int failing = -1;
};

TEST_F(RevalidationTest, WhatACacheWithoutMemoryCouldNotLookUpOrDeleteIsNotKept) {
  const auto cache = std::make_shared<MemorylessCache>(host.cache);
  const auto beneath = std::make_shared<KeptBodies>(cache, KeptBodies::Options());
  keep("\"a\"", "themes");
  Revalidation asking(beneath, secrets);
  cache->calls = 0;
  static_cast<void>(asking.withCondition(requestWith({"Accept: */*"}), theme));
  const int calls = std::exchange(cache->calls, 0);
  EXPECT_TRUE(asking.mayKeep(200, head({"ETag: \"b\""})));
  cache->failing = 0;
  asking.giveUp();
  EXPECT_FALSE(asking.mayKeep(200, head({"ETag: \"b\""})));

  for (cache->failing = 0; cache->failing < calls; ++cache->failing) {
    cache->calls = 0;
    static_cast<void>(asking.withCondition(requestWith({"Accept: */*"}), theme));
    EXPECT_FALSE(asking.hasAsked()) << cache->failing;
    EXPECT_FALSE(asking.mayKeep(200, head({"ETag: \"b\""}))) << cache->failing;
  }
}

TEST_F(RevalidationTest, ACacheWithoutMemoryAtAnyOfItsCallsCostsTheConditionAlone) {
  const auto cache = std::make_shared<MemorylessCache>(host.cache);
  const auto beneath = std::make_shared<KeptBodies>(cache, KeptBodies::Options());
  const auto ask = [&] {
    cache->calls = 0;
    Revalidation asking(beneath, secrets);
    const auto sent = asking.withCondition(requestWith({"Accept: */*"}), theme);
    EXPECT_EQ(sent.headerLines.size(), asking.hasAsked() ? 2U : 1U);
    asking.note(200, head({"ETag: \"b\""}), Data(std::string("new")));
    asking.keepNoted();
    asking.giveUp();
    EXPECT_FALSE(asking.hasAsked());
  };
  keep("\"a\"", "themes");
  ask();
  const int calls = cache->calls;
  EXPECT_GE(calls, 5);
  for (cache->failing = 0; cache->failing < calls; ++cache->failing) {
    keep("\"a\"", "themes");
    EXPECT_NO_THROW(ask()) << cache->failing;
  }
}

}  // namespace
}  // namespace vellora::hostkit
