#include "vellora/DataServices/DataServiceError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/PassingError.h"
#include "tests/support/TestError.h"
#include "vellora/DataServices/CompactLayoutDataServiceError.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/DataServices/ThemeDataServiceError.h"

namespace vellora {
namespace {

using testing::ElementsAre;

template <class E>
std::vector<std::string> namesOf(const std::vector<E>& errors) {
  std::vector<std::string> names;
  for (const auto& error : errors) names.push_back(error.description());
  return names;
}

TEST(DataServiceErrorTest, ACaseHasOneNameInEveryType) {
  using SObjects = SObjectsDataServiceError;
  using Theme = ThemeDataServiceError;
  using Compact = CompactLayoutDataServiceError;
  const tests::TestError payload{"x"};
  EXPECT_THAT(namesOf<SObjects>({SObjects::other(payload), SObjects::decoding(), SObjects::network(),
                                 SObjects::noData(), SObjects::invalidUrl()}),
              ElementsAre("other(x)", "decoding", "network", "noData", "invalidUrl"));
  EXPECT_THAT(namesOf<Theme>({Theme::other(payload), Theme::network(), Theme::noData(), Theme::invalidUrl()}),
              ElementsAre("other(x)", "network", "noData", "invalidUrl"));
  EXPECT_THAT(namesOf<Compact>({Compact::decoding(), Compact::encoding(), Compact::network()}),
              ElementsAre("decoding", "encoding", "network"));
}

TEST(DataServiceErrorTest, NamesItsRequestAndIsNoOtherErrorForThat) {
  const auto plain = SObjectsDataServiceError::network();
  EXPECT_EQ(plain.request(), nullptr);
  const auto named = plain.ofRequest("/services/data/v50.0/sobjects", std::nullopt);
  ASSERT_TRUE(named.request());
  EXPECT_EQ(named.request()->url, "/services/data/v50.0/sobjects");
  EXPECT_FALSE(named.request()->reason);
  EXPECT_EQ(named, plain);
  EXPECT_EQ(named.localizedDescription(), plain.localizedDescription());
  EXPECT_TRUE(SObjectsDataServiceError::map(named, nullptr).request()) << "still";
}

TEST(DataServiceErrorTest, AnErrorOfAnotherServiceIsAForeignOne) {
  const auto mapped = SObjectsDataServiceError::map(ThemeDataServiceError::noData(), nullptr);
  EXPECT_EQ(mapped.errorCase(), SObjectsDataServiceError::Case::other);
  ASSERT_NE(mapped.payload(), nullptr);
  EXPECT_NE(mapped.payload()->as<ThemeDataServiceError>(), nullptr);
}

TEST(DataServiceErrorTest, SaysAboutTryingAgainWhatTheNetworkSaid) {
  const Error busy = tests::PassingError{};
  EXPECT_TRUE(Error(SObjectsDataServiceError::other(busy)).retryAdvice());
  EXPECT_TRUE(Error(SObjectsDataServiceError::network().ofRequest("/x", busy)).retryAdvice());
  EXPECT_TRUE(Error(ThemeDataServiceError::other(busy).ofRequest("/x", std::nullopt)).retryAdvice());
  EXPECT_FALSE(Error(SObjectsDataServiceError::noData()).retryAdvice());
  EXPECT_FALSE(Error(SObjectsDataServiceError::other(Error(tests::TestError{"down"}))).retryAdvice());
}

}  // namespace
}  // namespace vellora
