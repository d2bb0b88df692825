#include "apps/vellora/command/NoNetwork.h"

#include <gtest/gtest.h>

#include <memory>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/SilentLogger.h"
#include "vellora/Catalog/Catalog.h"

namespace vellora::command {
namespace {

TEST(NoNetworkTest, WhateverIsToBeSentFailsAtOnce) {
  const auto host = std::make_shared<hostkit::StandardPlatformAPI>(std::make_shared<NoNetwork>(),
                                                                   std::make_shared<hostkit::MemoryCache>(),
                                                                   std::make_shared<testkit::SilentLogger>());
  const Catalog catalog(host, {.loadsAtOnce = false});
  const auto answer = catalog.types({"Account"}).get();
  EXPECT_EQ(answer.end, End::failed);
  ASSERT_TRUE(answer.trouble);
  EXPECT_EQ(answer.trouble->error().localizedDescription(), "No server is asked with --offline.");
}

}  // namespace
}  // namespace vellora::command
