#include "vellora/DataServices/ThemeDataServiceError.h"

#include <gtest/gtest.h>

#include "testkit/RecordingLogger.h"
#include "tests/support/TestError.h"

namespace vellora {
namespace {

using testkit::RecordingLogger;
using tests::TestError;
using Case = ThemeDataServiceError::Case;

TEST(ThemeDataServiceErrorTest, DescribesItselfByTypeAndCase) {
  EXPECT_EQ(ThemeDataServiceError::network().localizedDescription(),
            "The operation could not be completed. (ThemeDataServiceError.network)");
  EXPECT_EQ(ThemeDataServiceError::noData().localizedDescription(),
            "The operation could not be completed. (ThemeDataServiceError.noData)");
  EXPECT_EQ(ThemeDataServiceError::invalidUrl().localizedDescription(),
            "The operation could not be completed. (ThemeDataServiceError.invalidUrl)");
  EXPECT_EQ(ThemeDataServiceError::other(TestError{"no route"}).localizedDescription(),
            "The operation could not be completed. (ThemeDataServiceError.other: no route)");
}

TEST(ThemeDataServiceErrorTest, PlainCasesAreEqualWhenTheyAreTheSame) {
  EXPECT_EQ(ThemeDataServiceError::noData(), ThemeDataServiceError::noData());
  EXPECT_FALSE(ThemeDataServiceError::noData() == ThemeDataServiceError::network());
  EXPECT_FALSE(ThemeDataServiceError::invalidUrl() == ThemeDataServiceError::network());
}

TEST(ThemeDataServiceErrorTest, OthersAreEqualWhenTheirErrorsReadTheSame) {
  EXPECT_EQ(ThemeDataServiceError::other(TestError{"a"}), ThemeDataServiceError::other(TestError{"a"}));
  EXPECT_FALSE(ThemeDataServiceError::other(TestError{"a"}) == ThemeDataServiceError::other(TestError{"b"}));
}

TEST(ThemeDataServiceErrorTest, APlainCaseNeverEqualsOther) {
  EXPECT_FALSE(ThemeDataServiceError::noData() ==
               ThemeDataServiceError::other(ThemeDataServiceError::noData()));
}

TEST(ThemeDataServiceErrorTest, MappingKeepsItsOwnKind) {
  const auto mapped = ThemeDataServiceError::map(ThemeDataServiceError::noData(), nullptr);
  EXPECT_EQ(mapped.errorCase(), Case::noData);
  EXPECT_EQ(mapped.payload(), nullptr);
}

TEST(ThemeDataServiceErrorTest, MappingWrapsAForeignError) {
  const auto mapped = ThemeDataServiceError::map(TestError{"no route"}, nullptr);
  EXPECT_EQ(mapped.errorCase(), Case::other);
  ASSERT_NE(mapped.payload(), nullptr);
  ASSERT_NE(mapped.payload()->as<TestError>(), nullptr);
  EXPECT_EQ(mapped.payload()->as<TestError>()->text, "no route");
}

TEST(ThemeDataServiceErrorTest, MappingLogsEveryTimeItHasALogger) {
  RecordingLogger logger;
  const auto once = ThemeDataServiceError::map(TestError{"no route"}, &logger);
  const auto twice = ThemeDataServiceError::map(once, &logger);
  EXPECT_EQ(twice, once);
  const std::vector<RecordingLogger::Line> expected{
      {CorvaneSDK::LogLevel::error, "VelloraService: ThemeDataServiceError: no route"},
      {CorvaneSDK::LogLevel::error,
       "VelloraService: ThemeDataServiceError: The operation could not be completed. "
       "(ThemeDataServiceError.other: no route)"}};
  EXPECT_EQ(logger.lines(), expected);
}

}  // namespace
}  // namespace vellora
