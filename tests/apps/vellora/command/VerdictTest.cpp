#include "apps/vellora/command/Verdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "hostkit/network/CurlNetworkError.h"
#include "vellora/Catalog/QuestionError.h"
#include "vellora/DataServices/NotCached.h"

namespace vellora::command {
namespace {

using hostkit::CurlNetworkError;
using testing::ElementsAre;
using testing::SizeIs;
using Why = Missing::Why;

constexpr const char* locked = "The cache file is locked.";

Failure failure(const std::string& text) {
  return Failure(CurlNetworkError{CurlNetworkError::Kind::errorStatus, text});
}

Missing failed(const std::string& text) {
  return Missing(Why::failed, failure(text));
}

class VerdictTest : public testing::Test {
 protected:
  VerdictTest() {
    lack.what = "object type";
    lack.wait = 0.5;
  }

  void miss(const std::string& key, Missing missing) {
    lack.keys.push_back(key);
    lack.missing.emplace(key, std::move(missing));
  }

  Lack lack;
};

TEST_F(VerdictTest, AnAnswerThatLacksNothingNeedsNoWords) {
  lack.keys = {"a"};
  EXPECT_EQ(verdictOn(lack), Verdict());
}

TEST_F(VerdictTest, KeysOfOneReasonShareALineInTheOrderInWhichTheyWereAskedFor) {
  miss("b", Missing(Why::unknown));
  miss("x", failed("500 for /query"));
  miss("a", Missing(Why::unknown));
  lack.keys.push_back("b");
  EXPECT_THAT(verdictOn(lack).lines, ElementsAre("no object type for b, a: the server has none",
                                                 "no object type for x: 500 for /query"));
}

TEST_F(VerdictTest, AKeyThatIsNoneIsLikeOneThatTheServerDoesNotKnow) {
  miss("", Missing(Why::notAsked, Failure(QuestionError{QuestionError::Case::emptyKey})));
  EXPECT_EQ(verdictOn(lack),
            (Verdict{ExitCode::someMissing, {"no object type for \"\": not asked: The key is empty."}}));
}

TEST_F(VerdictTest, AFailedRequestCountsMoreThanTheCacheAndThatMoreThanAnUnknownKey) {
  miss("odd'", Missing(Why::notAsked, Failure(QuestionError{QuestionError::Case::quoteInId})));
  EXPECT_EQ(verdictOn(lack).exit, ExitCode::someMissing);
  lack.cacheFailure = locked;
  miss("a", Missing(Why::unknown));
  EXPECT_EQ(verdictOn(lack).exit, ExitCode::cacheUnusable);
  miss("b", failed("500 for /query"));
  EXPECT_EQ(verdictOn(lack).exit, ExitCode::requestFailed);
}

TEST_F(VerdictTest, TheCacheIsBlamedForWhatItDidNotKeep) {
  miss("a", Missing(Why::failed, Failure(NotCached())));
  lack.trouble = Failure(NotCached());
  EXPECT_EQ(verdictOn(lack).exit, ExitCode::requestFailed) << "nothing is known against it";
  lack.cacheFailure = locked;
  EXPECT_EQ(verdictOn(lack),
            (Verdict{ExitCode::cacheUnusable, {"no object type for a: The cache file is locked."}}));
}

TEST_F(VerdictTest, AWaitThatRanOutNamesTheRequestAndTheCachesReasonAndWhatToDo) {
  miss("a", Missing(Why::timedOut));
  EXPECT_EQ(verdictOn(lack),
            (Verdict{ExitCode::requestFailed,
                     {"no object type for a: no answer within 0.5 s; give it longer with --wait SECONDS"}}));
  lack.unanswered = "/query";
  lack.cacheFailure = locked;
  EXPECT_THAT(
      verdictOn(lack).lines,
      ElementsAre("no object type for a: no answer to /query within 0.5 s; The cache file is locked.; "
                  "give it longer with --wait SECONDS"));
}

TEST_F(VerdictTest, WhatKeptAnAnswerFromBeingFresherIsToldThoughEveryKeyIsThere) {
  lack.keys = {"a"};
  lack.trouble = failure("no way to /theme");
  EXPECT_EQ(verdictOn(lack),
            (Verdict{ExitCode::answered, {}, {"the answer may be old or incomplete: no way to /theme"}}));
}

TEST_F(VerdictTest, WhatIsToldOfAKeyIsNotToldAgainOfTheAnswer) {
  miss("a", failed("no way to /sobjects"));
  lack.trouble = failure("no way to /sobjects");
  EXPECT_THAT(verdictOn(lack).lines, SizeIs(1));
  EXPECT_THAT(verdictOn(lack).notes, SizeIs(0));
  lack.trouble = failure("no way to /theme");
  EXPECT_THAT(verdictOn(lack).lines, SizeIs(1));
  EXPECT_THAT(verdictOn(lack).notes, SizeIs(1));
}

TEST_F(VerdictTest, AnOldAnswerTellsItsAgeAndWhyNothingNewerCame) {
  lack.keys = {"a"};
  lack.old = OldData{3 * 86400.0};
  EXPECT_EQ(verdictOn(lack), (Verdict{ExitCode::answered, {}, {"from the cache, 3 days old"}}));
  lack.trouble = Failure(CurlNetworkError{CurlNetworkError::Kind::unreachable, "no way to /a"});
  EXPECT_THAT(verdictOn(lack).notes,
              ElementsAre("from the cache, 3 days old; the server did not answer: no way to /a"));
  lack.trouble = Failure(CurlNetworkError{CurlNetworkError::Kind::errorStatus, "418 for /a"});
  EXPECT_THAT(verdictOn(lack).notes,
              ElementsAre("from the cache, 3 days old; the server answered: 418 for /a"));
  lack.trouble = Failure(QuestionError{QuestionError::Case::timedOut});
  lack.unanswered = "/a";
  EXPECT_THAT(verdictOn(lack).notes,
              ElementsAre("from the cache, 3 days old; no answer to /a within 0.5 s; give "
                          "it longer with --wait SECONDS"));
}

TEST_F(VerdictTest, AnOldAnswerWhoseAgeNobodyKnowsSaysSo) {
  lack.keys = {"a"};
  lack.old = OldData();
  EXPECT_THAT(verdictOn(lack).notes, ElementsAre("from the cache, of unknown age"));
}

TEST_F(VerdictTest, NamesThatWereProbablyMeantAreToldOnce) {
  miss("account", Missing(Why::unknown));
  miss("acount", Missing(Why::unknown));
  miss("nonsense", Missing(Why::unknown));
  lack.meant = {{"account", "Account"}, {"acount", "Account"}};
  EXPECT_THAT(verdictOn(lack).lines,
              ElementsAre("no object type for account, acount, nonsense: the server has none; did you mean "
                          "Account?"));
}

TEST_F(VerdictTest, OfflineAKeyThatIsNotCachedIsLikeOneThatIsUnknown) {
  miss("a", Missing(Why::notCached));
  miss("b", Missing(Why::failed, Failure(NotCached())));
  lack.isOffline = true;
  EXPECT_EQ(verdictOn(lack),
            (Verdict{ExitCode::someMissing,
                     {"no object type for a, b: not in the cache; leave --offline out to ask the server"}}));
}

TEST_F(VerdictTest, OfflineACacheThatFailedIsNotSaidToLackTheKey) {
  miss("a", Missing(Why::notCached));
  lack.isOffline = true;
  lack.cacheFailure = locked;
  EXPECT_EQ(verdictOn(lack),
            (Verdict{ExitCode::cacheUnusable, {"no object type for a: The cache file is locked."}}));
}

TEST_F(VerdictTest, AQuestionWithoutKeysThatFindsNothingTellsWhy) {
  EXPECT_EQ(verdictOnNothing(failed("no way to /a"), lack),
            (Verdict{ExitCode::requestFailed, {"no object types: no way to /a"}}));
  EXPECT_EQ(verdictOnNothing(Missing(Why::timedOut), lack),
            (Verdict{ExitCode::requestFailed,
                     {"no object types: no answer within 0.5 s; give it longer with --wait SECONDS"}}));
}

TEST_F(VerdictTest, TenReasonsAreToldAndTheRestIsCounted) {
  for (int i = 10; i < 22; ++i) miss("key" + std::to_string(i), failed("reason " + std::to_string(i)));
  const auto lines = verdictOn(lack).lines;
  ASSERT_THAT(lines, SizeIs(11));
  EXPECT_EQ(lines[9], "no object type for key19: reason 19");
  EXPECT_EQ(lines[10], "no object type for 2 more, for other reasons");
}

}  // namespace
}  // namespace vellora::command
