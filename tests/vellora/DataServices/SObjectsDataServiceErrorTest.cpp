#include "vellora/DataServices/SObjectsDataServiceError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testkit/RecordingLogger.h"
#include "tests/support/TestError.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using tests::TestError;
using Case = SObjectsDataServiceError::Case;

TEST(SObjectsDataServiceErrorTest, MapReturnsAnErrorOfItsOwnTypeUnchangedAfterLoggingIt) {
  testkit::RecordingLogger logger;
  const auto mapped = SObjectsDataServiceError::map(SObjectsDataServiceError::noData(), &logger);
  EXPECT_EQ(mapped.errorCase(), Case::noData);
  EXPECT_EQ(mapped, SObjectsDataServiceError::noData());
  EXPECT_THAT(logger.lines(),
              ElementsAre(testkit::RecordingLogger::Line{
                  CorvaneSDK::LogLevel::error,
                  "VelloraService: SObjectsDataServiceError: The operation could not be completed. "
                  "(SObjectsDataServiceError.noData)"}));
}

TEST(SObjectsDataServiceErrorTest, MapWrapsAForeignErrorInOther) {
  testkit::RecordingLogger logger;
  const auto mapped = SObjectsDataServiceError::map(TestError{"line down"}, &logger);
  EXPECT_EQ(mapped.errorCase(), Case::other);
  ASSERT_NE(mapped.payload(), nullptr);
  ASSERT_NE(mapped.payload()->as<TestError>(), nullptr);
  EXPECT_EQ(mapped.payload()->as<TestError>()->text, "line down");
  EXPECT_THAT(logger.texts(CorvaneSDK::LogLevel::error),
              ElementsAre("VelloraService: SObjectsDataServiceError: line down"));
}

TEST(SObjectsDataServiceErrorTest, MapWithoutALoggerConvertsSilently) {
  EXPECT_EQ(SObjectsDataServiceError::map(TestError{"x"}, nullptr),
            SObjectsDataServiceError::other(TestError{"x"}));
}

TEST(SObjectsDataServiceErrorTest, OthersAreEqualWhenTheirDescriptionsAre) {
  EXPECT_EQ(SObjectsDataServiceError::other(TestError{"x"}), SObjectsDataServiceError::other(TestError{"x"}));
  EXPECT_FALSE(SObjectsDataServiceError::other(TestError{"x"}) ==
               SObjectsDataServiceError::other(TestError{"y"}));
}

TEST(SObjectsDataServiceErrorTest, PlainCasesEqualThemselvesOnly) {
  EXPECT_EQ(SObjectsDataServiceError::decoding(), SObjectsDataServiceError::decoding());
  EXPECT_FALSE(SObjectsDataServiceError::decoding() == SObjectsDataServiceError::network());
  EXPECT_FALSE(SObjectsDataServiceError::decoding() ==
               SObjectsDataServiceError::other(SObjectsDataServiceError::decoding()));
}

TEST(SObjectsDataServiceErrorTest, TextsAreThePlatformsDefaults) {
  const auto other = SObjectsDataServiceError::other(TestError{"line down"});
  EXPECT_EQ(other.localizedDescription(),
            "The operation could not be completed. (SObjectsDataServiceError.other: line down)");
  EXPECT_EQ(other.description(), "other(line down)");
  EXPECT_EQ(SObjectsDataServiceError::invalidUrl().localizedDescription(),
            "The operation could not be completed. (SObjectsDataServiceError.invalidUrl)");
  EXPECT_EQ(SObjectsDataServiceError::decoding().description(), "decoding");
  EXPECT_EQ(SObjectsDataServiceError::network().description(), "network");
}

}  // namespace
}  // namespace vellora
