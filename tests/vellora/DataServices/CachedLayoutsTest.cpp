#include "vellora/DataServices/CachedLayouts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "testkit/RecordingLogger.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testkit::RecordingLogger;

/// All that is asked of a layout here.
struct TypedText {
  std::string objectType;
};

TEST(CachedLayoutsTest, MissesTheNamesThatAreNoLayoutsTypeAsOftenAsTheyAreNamed) {
  const std::vector<TypedText> layouts{{"A"}, {"C"}};
  EXPECT_THAT(namesWithoutLayout({"D", "A", "B", "D", "a"}, layouts), ElementsAre("D", "B", "D", "a"));
  EXPECT_THAT(namesWithoutLayout({}, layouts), IsEmpty());
}

class AnswerWithCachedTest : public testing::Test {
 protected:
  /// What a lookup with this completion answers a download that ended so.
  LayoutCompletion<TypedText> answerTo(LayoutCompletion<TypedText> completion) {
    return answerWithCached<TypedText>({.fresh = {{"Fresh"}}, .found = {{"Old"}, {"Fresh"}}},
                                       FailureLog(std::weak_ptr<int>(service), logger, "look()"),
                                       std::move(completion));
  }

  LayoutCompletion<TypedText> record() {
    return [this](const auto& layouts, const auto& error) {
      std::string text = error ? error->description() : "none";
      for (const auto& layout : *layouts) text += " " + layout.objectType;
      answers.push_back(text);
    };
  }

  RecordingLogger logger;
  const std::shared_ptr<int> service = std::make_shared<int>(7);
  std::vector<std::string> answers;
};

TEST_F(AnswerWithCachedTest, ADownloadIsAnsweredWithTheFreshLayoutsAFailureWithAllThatWereFound) {
  const auto answer = answerTo(record());
  answer(std::vector<TypedText>{{"New"}}, std::nullopt);
  answer(std::nullopt, std::nullopt);
  EXPECT_THAT(logger.lines(), IsEmpty());
  answer(std::nullopt, SObjectsDataServiceError::decoding());
  EXPECT_THAT(answers, ElementsAre("none New Fresh", "none Old Fresh", "decoding Old Fresh"));
  EXPECT_THAT(logger.lines(), ElementsAre(RecordingLogger::Line{
                                  CorvaneSDK::LogLevel::error,
                                  "look(): Network request error:  The operation could not be completed. "
                                  "(SObjectsDataServiceError.decoding)"}));
}

TEST_F(AnswerWithCachedTest, AFailureThatNobodyWantsToHearOfIsLoggedAllTheSame) {
  answerTo(nullptr)(std::nullopt, SObjectsDataServiceError::network());
  EXPECT_EQ(logger.lines().size(), 1U);
}

}  // namespace
}  // namespace vellora
