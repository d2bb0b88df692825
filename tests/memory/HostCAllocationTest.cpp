#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/sqlite/SQLiteCacheError.h"
#include "hostkit/network/CurlNetworkError.h"
#include "tests/memory/EachCAllocation.h"
#include "tests/support/CAllocationFailure.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Result.h"

// Each allocation of the C libraries fails in turn while a host of the ready-made facilities is made.

namespace vellora::hostkit {
namespace {

using vellora::tests::CAllocationFailure;
using Extent = CAllocationFailure::Extent;
using Made = Result<std::shared_ptr<StandardPlatformAPI>>;

class HostCAllocationTest : public testing::Test {
 protected:
  [[nodiscard]] Made make() const {
    return StandardPlatformAPI::make({.server = "http://127.0.0.1:1",
                                      .token = [] { return std::optional<std::string>("token"); },
                                      .cacheFile = folder.file("cache.db"),
                                      .cacheOwner = "alice"});
  }

  /// The host; null, after a clear error, where there was no memory for it.
  [[nodiscard]] std::shared_ptr<StandardPlatformAPI> makeOrNone() const {
    try {
      const auto made = make();
      if (made) return made.value();
      EXPECT_TRUE(made.error().as<CurlNetworkError>() || made.error().as<SQLiteCacheError>());
    } catch (const std::bad_alloc&) {  // on the thread that called
    }
    return nullptr;
  }

  static void expectUsable(StandardPlatformAPI& host) {
    EXPECT_NE(host.network(), nullptr);
    EXPECT_TRUE(host.cache()->save(Data("kept"), "key"));
    EXPECT_EQ(host.cache()->load("key"), Data("kept"));
  }

  const vellora::tests::TemporaryFolder folder;
};

TEST_F(HostCAllocationTest, IsMadeOrAnErrorAndMadeWhenThereIsMemoryAgain) {
  expectUsable(*make().value());  // what the libraries keep for ever, they have now
  const std::size_t blocksAtFirst = CAllocationFailure::liveBlocks();
  const auto makeWith = [&](std::size_t number, Extent extent) {
    std::optional<CAllocationFailure> failure(std::in_place, number, extent);
    auto host = makeOrNone();
    const bool happened = failure->happened();
    failure.reset();
    EXPECT_TRUE(host || happened);
    if (host) expectUsable(*host);
    host.reset();
    expectUsable(*make().value());
    EXPECT_EQ(CAllocationFailure::liveBlocks(), blocksAtFirst) << "blocks are leaked";
    return happened;
  };
  vellora::tests::failEachCAllocationOf("a host of the ready-made facilities", makeWith, 11);
}

}  // namespace
}  // namespace vellora::hostkit
