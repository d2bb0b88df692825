#include "apps/vellora/command/SharedAddress.h"

#include <gtest/gtest.h>

namespace vellora::command {
namespace {

TEST(SharedAddressTest, OfARedisIsOneOfItsThreeForms) {
  for (const char* const address : {"redis://h", "rediss://h:1/2", "redis+unix:///s"})
    EXPECT_TRUE(isShared(address)) << address;
  for (const char* const file : {"", "cache.sqlite", "redis", "/redis://h", "redis:/h", "https://h"})
    EXPECT_FALSE(isShared(file)) << file;
}

}  // namespace
}  // namespace vellora::command
