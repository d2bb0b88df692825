#include "hostkit/StandardPlatformAPI.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace vellora::hostkit {
namespace {

struct SilentNetwork final : CorvaneSDK::Network {
  void sendRequest(const CorvaneSDK::NetRequest&, Completion completion) override {
    completion(std::nullopt, std::nullopt, std::nullopt);
  }
};

struct SilentLogger final : CorvaneSDK::Logger {
  void log(std::string_view, CorvaneSDK::LogLevel) override {}
};

TEST(StandardPlatformAPITest, HandsOutTheFacilitiesThatItWasGiven) {
  const auto network = std::make_shared<SilentNetwork>();
  const auto logger = std::make_shared<SilentLogger>();

  StandardPlatformAPI api(network, nullptr, logger);

  EXPECT_EQ(api.network(), network);
  EXPECT_EQ(api.logger(), logger);
}

TEST(StandardPlatformAPITest, GrantsNothingOfAKindThatItWasNotGiven) {
  StandardPlatformAPI api(nullptr, nullptr, nullptr);

  EXPECT_EQ(api.network(), nullptr);
  EXPECT_EQ(api.cache(), nullptr);
  EXPECT_EQ(api.logger(), nullptr);
}

}  // namespace
}  // namespace vellora::hostkit
