#include "vellora/Catalog/Failure.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/support/TestError.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/DataServices/ThemeDataServiceError.h"

namespace vellora {
namespace {

const Error down = tests::TestError{"down"};

TEST(FailureTest, TellsWhatTheNetworkSaidAndOfWhichRequest) {
  for (const Error& error : {Error(SObjectsDataServiceError::other(down).ofRequest("/a", down)),
                             Error(SObjectsDataServiceError::network().ofRequest("/a", down)),
                             Error(ThemeDataServiceError::other(down).ofRequest("/a", down))}) {
    const Failure failure(error);
    EXPECT_EQ(failure.text(), "down (/a)");
    EXPECT_EQ(failure.url(), "/a");
    EXPECT_TRUE(failure.error().as<tests::TestError>());
  }
}

TEST(FailureTest, ARequestThatBroughtNothingIsTheServicesError) {
  const Failure failure(SObjectsDataServiceError::noData().ofRequest("/a", std::nullopt));
  EXPECT_EQ(failure.text(), "The operation could not be completed. (SObjectsDataServiceError.noData) (/a)");
}

TEST(FailureTest, AnyOtherErrorIsTakenAsItIs) {
  EXPECT_EQ(Failure(down).text(), "down");
  EXPECT_EQ(Failure(down).url(), "");
  EXPECT_EQ(Failure(SObjectsDataServiceError::other(down)).text(), "down");
  EXPECT_EQ(Failure(ThemeDataServiceError::other(down)).text(), "down");
}

TEST(MissingTest, SaysWhyInWords) {
  using Why = Missing::Why;
  EXPECT_EQ(Missing(Why::unknown).text(), "unknown to the server");
  EXPECT_EQ(Missing(Why::failed, Failure(down)).text(), "could not be asked: down");
  EXPECT_EQ(Missing(Why::notAsked, Failure(down)).text(), "not asked: down");
  EXPECT_EQ(Missing(Why::notCached).text(), "not in the cache");
  EXPECT_EQ(Missing(Why::timedOut).text(), "timed out");
  EXPECT_EQ(Missing(Why::cancelled).text(), "cancelled");
}

}  // namespace
}  // namespace vellora
