#include "apps/vellora/command/Narration.h"

#include <gtest/gtest.h>

#include <chrono>

namespace vellora::command {
namespace {

TEST(NarrationTest, TellsWhatBecameOfARequest) {
  RequestReport report;
  report.path = "/a";
  report.time = std::chrono::milliseconds(1234);
  EXPECT_EQ(narrationOf(report), "GET /a: neither body nor error after 1.23 s");
  report.outcome = RequestReport::Outcome::error;
  EXPECT_EQ(narrationOf(report), "GET /a: failed after 1.23 s");
  report.outcome = RequestReport::Outcome::body;
  report.bytes = 120;
  EXPECT_EQ(narrationOf(report), "GET /a: 120 bytes after 1.23 s");
}

TEST(NarrationTest, TellsWhereAnAnswerCameFromAndHowOldItIs) {
  QuestionReport report;
  report.time = std::chrono::milliseconds(20);
  report.missing = {{Missing::Why::unknown, 2}, {Missing::Why::failed, 1}};
  EXPECT_EQ(narrationOf(report), "0 found, 3 missing, after 0.02 s");
  report.found = 4;
  report.origin = QuestionReport::Origin::server;
  EXPECT_EQ(narrationOf(report), "4 found, 3 missing, from the server, after 0.02 s");
  report.origin = QuestionReport::Origin::cache;
  report.age = std::chrono::minutes(5);
  EXPECT_EQ(narrationOf(report), "4 found, 3 missing, from the cache, 5 minutes old, after 0.02 s");
}

TEST(NarrationTest, OfARefreshTellsHowManyTypesHaveChanged) {
  QuestionReport report;
  report.question.kind = QuestionKind::refresh;
  report.time = std::chrono::milliseconds(20);
  report.found = 3;
  EXPECT_EQ(narrationOf(report), "3 changed, after 0.02 s");
}

TEST(NarrationTest, TellsHowLongWorkOnAFileTook) {
  EXPECT_EQ(narrationOf("reading /a", std::chrono::milliseconds(456)), "reading /a: done after 0.46 s");
}

}  // namespace
}  // namespace vellora::command
