#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/records-server/DataSet.h"
#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "testkit/ManualQueue.h"
#include "testkit/ManualTimer.h"
#include "testkit/SilentLogger.h"
#include "testkit/StubNetwork.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestClock.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Models/SObject.h"
#include "vellora/Models/SObjectsResponse.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Services/VelloraService.h"

// What a host gets back when the system is short of memory, with the lists of 2,000 types in a file.

namespace vellora {
namespace {

using hostkit::StandardPlatformAPI;
using recordsserver::DataSet;
using testkit::StubNetwork;

constexpr std::size_t typeCount = 2'000;
constexpr std::size_t megabyte = 1'000'000;

/// Of both lists: their decoded form with an index of the names, and the text that the cache's rows keep.
constexpr std::size_t leastRemembered = 4 * megabyte;

/// What a lookup takes that need not decode a list.
constexpr std::size_t mostWithoutList = megabyte / 5;

class ReleaseMemoryTest : public testing::Test {
 protected:
  ReleaseMemoryTest() {
    const auto data = DataSet::generated(typeCount);
    network_->answer("/services/data/v50.0/sobjects", StubNetwork::body(data.objectList()));
    network_->answer("/services/data/v50.0/theme", StubNetwork::body(data.themeList()));
    types_ = json::decode<SObjectsResponse>(data.objectList()).value().sObjects;
  }

  void settle() {
    while (answers_->runNext() || queues_.runNext()) {
    }
  }

  /// Asks for a type that was not asked for before, and gives back how many bytes that took.
  std::size_t bytesOfANewType(const Catalog& catalog) {
    const SObject& type = types_.at(next_++);
    std::optional<std::string> label;
    const tests::AllocationCounter counter;
    const auto token = catalog.types({type.name}).then([&](const auto& answer) {
      for (const auto& [name, info] : answer.found) label = info.typePresentationInfo.label;
    });
    settle();
    EXPECT_EQ(label, type.label);
    return counter.bytes();
  }

  /// How many bytes `release` gives back.
  template <class Release>
  static std::size_t bytesFreedBy(Release release) {
    const auto before = tests::LiveMemory::now().bytes;
    release();
    return before - tests::LiveMemory::now().bytes;
  }

  const tests::TestClock clock_;
  tests::ManualQueues queues_;
  const tests::TemporaryFolder folder_;
  const std::shared_ptr<StubNetwork> network_ = std::make_shared<StubNetwork>();
  const std::shared_ptr<StandardPlatformAPI> host_ = std::make_shared<StandardPlatformAPI>(
      network_, hostkit::SQLiteCache::open(folder_.file("cache.sqlite")).value(),
      std::make_shared<testkit::SilentLogger>());
  const std::shared_ptr<testkit::ManualQueue> answers_ = std::make_shared<testkit::ManualQueue>();
  const std::shared_ptr<testkit::ManualTimer> timer_ = std::make_shared<testkit::ManualTimer>();
  std::vector<SObject> types_;
  std::size_t next_ = 0;
};

TEST_F(ReleaseMemoryTest, LetsGoOfListsAndRowsAndCostsOneDecodingAgain) {
  const Catalog catalog(host_, {.answersOn = answers_, .timer = timer_});
  settle();
  bytesOfANewType(catalog);
  EXPECT_LT(bytesOfANewType(catalog), mostWithoutList) << "lists are remembered";

  const auto freed = bytesFreedBy([&] { catalog.releaseMemory(); });
  EXPECT_GT(freed, leastRemembered);
  EXPECT_LT(bytesFreedBy([&] { catalog.releaseMemory(); }), mostWithoutList) << "nothing was left";

  const auto decoding = bytesOfANewType(catalog);
  EXPECT_GT(decoding, leastRemembered);
  EXPECT_LT(bytesOfANewType(catalog), mostWithoutList) << "they are remembered again";
  std::cout << "let go of: " << freed << " bytes; the next question takes " << decoding << " bytes\n";
}

TEST_F(ReleaseMemoryTest, AQuestionUnderWayIsAnsweredThoughMemoryIsReleasedAtEachOfItsSteps) {
  const Catalog catalog(host_, {.answersOn = answers_, .timer = timer_});
  settle();
  std::vector<std::string> found;
  const auto token = catalog.types({types_[0].name, types_[1].name}).then([&](const auto& answer) {
    for (const auto& [name, info] : answer.found) found.push_back(name);
  });
  do {
    catalog.releaseMemory();
  } while (answers_->runNext() || queues_.runNext());
  EXPECT_THAT(found, testing::UnorderedElementsAre(types_[0].name, types_[1].name));
  EXPECT_EQ(network_->requests().size(), 2U) << "nothing that was cached is lost";
}

TEST_F(ReleaseMemoryTest, AFacadeLetsGoOfTheSame) {
  VelloraService facade(host_, 3600, "light", answers_);
  settle();
  std::size_t found = 0;
  facade.objectPresentationInfoForApiNames({types_[0].name},
                                           [&](const auto& infos) { found = infos.size(); });
  settle();
  EXPECT_EQ(found, 1U);
  EXPECT_GT(bytesFreedBy([&] { facade.releaseMemory(); }), leastRemembered);
}

TEST_F(ReleaseMemoryTest, LetsGoOfTheParserThatTheThreadKeeps) {
  const Catalog catalog(host_, {.answersOn = answers_, .timer = timer_});
  settle();
  catalog.releaseMemory();
  ASSERT_TRUE(json::decode<std::vector<std::string>>(Data(std::string(megabyte, ' ') + "[]")));
  EXPECT_GT(bytesFreedBy([&] { catalog.releaseMemory(); }), megabyte);
}

TEST_F(ReleaseMemoryTest, ACatalogueWithoutAHostHasNothingToLetGoOf) {
  const Catalog catalog(nullptr, {.answersOn = answers_, .timer = timer_});
  EXPECT_EQ(bytesFreedBy([&] { catalog.releaseMemory(); }), 0U);
}

}  // namespace
}  // namespace vellora
