#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "apps/vellora/explore/ObservedCache.h"
#include "apps/vellora/explore/ObservedNetwork.h"
#include "tests/support/AllocationCounter.h"
#include "vellora/Platform/Web/URLComponents.h"
#include "vellora/Platform/Web/URLRequest.h"

namespace vellora::explore {
namespace {

using tests::AllocationFailure;

/// A network that gets no memory from the moment at which it answers.
class AnswersWithoutMemory final : public CorvaneSDK::Network {
 public:
  void sendRequest(const CorvaneSDK::NetRequest& /*request*/, Completion completion) override {
    std::optional<Data> body(Data("body"));
    const AllocationFailure failure(1, AllocationFailure::Extent::allFromThereOn);
    completion(std::move(body), std::nullopt, std::nullopt);
    hasFailed = failure.happened();
  }

  bool hasFailed = false;
};

/// A cache that hands one blob over, and gets no memory from then on.
class LoadsWithoutMemory final : public CorvaneSDK::Cache {
 public:
  std::optional<Data> load(const std::string& /*key*/) override {
    failure.emplace(1, AllocationFailure::Extent::allFromThereOn);
    return std::exchange(blob_, std::nullopt);
  }
  bool save(const Data& /*data*/, const std::string& /*key*/) override { return false; }
  bool remove(const std::string& /*key*/) override { return false; }
  std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& /*tableKey*/) override { return {}; }
  std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& /*table*/) override {
    return {};
  }

  std::optional<AllocationFailure> failure;

 private:
  std::optional<Data> blob_ = Data("blob");
};

TEST(ObserverMemoryTest, AnAnswerIsPassedOnThoughThereIsNoMemoryToNoteIt) {
  const auto next = std::make_shared<AnswersWithoutMemory>();
  const auto activity = std::make_shared<Activity>();
  bool hasBody = false;
  const std::string path = "/a/path/that/is/longer/than/what/a/string/keeps/within/itself";
  const CorvaneSDK::NetRequest request(URLRequest(URLComponents::parse(path)->url().value()));
  ObservedNetwork(next, activity).sendRequest(request, [&](auto data, auto, auto) {
    hasBody = data.has_value();
  });
  EXPECT_TRUE(hasBody);
  EXPECT_TRUE(next->hasFailed);
  EXPECT_TRUE(activity->after(0).empty());
}

TEST(ObserverMemoryTest, ABlobIsHandedOverThoughThereIsNoMemoryToNoteIt) {
  const auto next = std::make_shared<LoadsWithoutMemory>();
  const auto activity = std::make_shared<Activity>();
  ObservedCache cache(next, activity);
  const std::string key = "a key that is longer than what a string keeps within itself";
  const auto blob = cache.load(key);
  const bool hasFailed = next->failure->happened();
  next->failure.reset();
  EXPECT_TRUE(hasFailed);
  EXPECT_EQ(blob, Data("blob"));
  EXPECT_TRUE(activity->after(0).empty());
}

}  // namespace
}  // namespace vellora::explore
