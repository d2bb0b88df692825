#include "vellora/Host/RequiredAPI.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/SilentLogger.h"
#include "testkit/StubNetwork.h"

namespace vellora {
namespace {

class RequiredAPITest : public testing::Test {
 protected:
  const std::shared_ptr<testkit::StubNetwork> network = std::make_shared<testkit::StubNetwork>();
  const std::shared_ptr<hostkit::MemoryCache> cache = std::make_shared<hostkit::MemoryCache>();
  const std::shared_ptr<testkit::SilentLogger> logger = std::make_shared<testkit::SilentLogger>();
};

TEST_F(RequiredAPITest, KeepsTheThreeFacilitiesAndSoDoItsCopies) {
  const RequiredAPI api(network, cache, logger);
  const RequiredAPI copy = api;
  EXPECT_EQ(copy.network, network);
  EXPECT_EQ(copy.cache, cache);
  EXPECT_EQ(copy.logger, logger);
}

TEST_F(RequiredAPITest, CannotBeMadeWithoutAFacility) {
  EXPECT_THROW(RequiredAPI(nullptr, cache, logger), std::invalid_argument);
  EXPECT_THROW(RequiredAPI(network, nullptr, logger), std::invalid_argument);
  EXPECT_THROW(RequiredAPI(network, cache, nullptr), std::invalid_argument);
  static_assert(!std::is_default_constructible_v<RequiredAPI>);
}

TEST_F(RequiredAPITest, CannotLoseAFacilityLater) {
  static_assert(!std::is_assignable_v<decltype((std::declval<RequiredAPI&>().network)), std::nullptr_t>);
  static_assert(!std::is_assignable_v<RequiredAPI&, RequiredAPI>);
  RequiredAPI api(network, cache, logger);
  const RequiredAPI moved = std::move(api);
  EXPECT_EQ(api.network, network);  // NOLINT(bugprone-use-after-move): that is the point
}

}  // namespace
}  // namespace vellora
