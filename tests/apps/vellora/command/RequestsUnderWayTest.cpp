#include "apps/vellora/command/RequestsUnderWay.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <string>
#include <vector>

namespace vellora::command {
namespace {

class RequestsUnderWayTest : public testing::Test {
 protected:
  static RequestReport reportOf(const std::string& path) {
    RequestReport report;
    report.path = path;
    return report;
  }

  void send(const std::string& path) { requests.requestSent(reportOf(path)); }
  void answer(const std::string& path) { requests.requestEnded(reportOf(path)); }
  void endQuestion() { requests.questionEnded({}); }

  RequestsUnderWay requests;
};

TEST_F(RequestsUnderWayTest, TheOldestRequestWithoutAnAnswerIsTold) {
  send("/first");
  send("/second");
  send("/third");
  answer("/first");
  endQuestion();
  EXPECT_EQ(requests.oldest(), "/second");
}

TEST_F(RequestsUnderWayTest, OfTwoRequestsToOnePathEachNeedsItsAnswer) {
  send("/same");
  send("/same");
  answer("/same");
  endQuestion();
  EXPECT_EQ(requests.oldest(), "/same");
}

TEST_F(RequestsUnderWayTest, WhenAllAreAnsweredThereIsNone) {
  send("/same");
  send("/same");
  answer("/same");
  answer("/same");
  endQuestion();
  EXPECT_EQ(requests.oldest(), std::nullopt);
}

TEST_F(RequestsUnderWayTest, AnAnswerBehindTheEndOfTheQuestionComesTooLate) {
  send("/late");
  endQuestion();
  answer("/late");
  EXPECT_EQ(requests.oldest(), "/late");
}

TEST_F(RequestsUnderWayTest, TheOldestYetIsToldWhileTheQuestionIsOpen) {
  EXPECT_EQ(requests.oldestYet(), std::nullopt);
  send("/first");
  send("/second");
  EXPECT_EQ(requests.oldestYet(), "/first");
  answer("/first");
  EXPECT_EQ(requests.oldestYet(), "/second");
}

TEST_F(RequestsUnderWayTest, WhoWantsToFollowIsToldOfEachEnd) {
  std::vector<std::string> lines;
  RequestsUnderWay told([&](const std::string& line) { lines.push_back(line); });
  told.requestSent(reportOf("/a"));
  told.requestEnded(reportOf("/a"));
  told.questionEnded({});
  told.awaitEnd();
  EXPECT_EQ(lines, (std::vector<std::string>{"GET /a: neither body nor error after 0.00 s",
                                             "0 found, 0 missing, after 0.00 s"}));
}

TEST_F(RequestsUnderWayTest, WaitsForTheReportsBeforeTheEndOfTheQuestion) {
  auto oldest = std::async(std::launch::async, [this] { return requests.oldest(); });
  send("/one");
  endQuestion();
  EXPECT_EQ(oldest.get(), "/one");
}

TEST_F(RequestsUnderWayTest, OfQuestionsOneAfterTheOtherTheLastOneIsToldOf) {
  requests.questionAsked();
  send("/first");
  endQuestion();
  EXPECT_EQ(requests.oldest(), "/first");
  answer("/first");
  requests.questionAsked();
  send("/second");
  EXPECT_EQ(requests.oldestYet(), "/second");
  answer("/second");
  endQuestion();
  EXPECT_EQ(requests.oldest(), std::nullopt);
}

TEST_F(RequestsUnderWayTest, WaitsForTheEndOfTheLastQuestion) {
  requests.questionAsked();
  endQuestion();
  requests.questionAsked();
  auto oldest = std::async(std::launch::async, [this] { return requests.oldest(); });
  send("/one");
  endQuestion();
  EXPECT_EQ(oldest.get(), "/one");
}

}  // namespace
}  // namespace vellora::command
