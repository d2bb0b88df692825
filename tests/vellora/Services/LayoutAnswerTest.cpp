#include "vellora/Services/LayoutAnswer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testkit/RecordingLogger.h"
#include "vellora/Models/ObjectLayoutInfo.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Infos = std::optional<std::vector<ObjectLayoutInfo>>;

const ObjectLayoutInfo account{"Account", {}};
const ObjectLayoutInfo otherAccount{"Account", {{"Name", "Name", std::nullopt, "Name"}}};
const ObjectLayoutInfo contact{"Contact", {}};

TEST(LayoutAnswerTest, IsKeyedByTheTypesOwnNamesAndTheLaterOfTwoStands) {
  testkit::RecordingLogger logger;
  const auto answer = layoutAnswer(Infos({account, contact, otherAccount}), std::nullopt, logger);
  ASSERT_TRUE(answer);
  EXPECT_EQ(*answer,
            (std::map<std::string, ObjectLayoutInfo>{{"Account", otherAccount}, {"Contact", contact}}));
}

TEST(LayoutAnswerTest, AnEmptyListIsAnEmptyDictionaryNotNothing) {
  testkit::RecordingLogger logger;
  const auto answer = layoutAnswer(Infos(std::in_place), std::nullopt, logger);
  ASSERT_TRUE(answer);
  EXPECT_TRUE(answer->empty());
}

TEST(LayoutAnswerTest, AnErrorBesideAListIsIgnored) {
  testkit::RecordingLogger logger;
  EXPECT_TRUE(layoutAnswer(Infos({account}), SObjectsDataServiceError::network(), logger));
  EXPECT_THAT(logger.lines(), IsEmpty());
}

TEST(LayoutAnswerTest, AnErrorWithoutAListIsNothingAndOneErrorLine) {
  testkit::RecordingLogger logger;
  EXPECT_EQ(layoutAnswer(Infos(), SObjectsDataServiceError::network(), logger), std::nullopt);
  EXPECT_THAT(logger.texts(CorvaneSDK::LogLevel::error),
              ElementsAre("error: The operation could not be completed. (SObjectsDataServiceError.network)"));
}

TEST(LayoutAnswerTest, NeitherListNorErrorIsNothingAndNoLine) {
  testkit::RecordingLogger logger;
  EXPECT_EQ(layoutAnswer(Infos(), std::nullopt, logger), std::nullopt);
  EXPECT_THAT(logger.lines(), IsEmpty());
}

}  // namespace
}  // namespace vellora
