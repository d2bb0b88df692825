#include "apps/vellora/command/SharedAddress.h"

#include <gtest/gtest.h>

namespace vellora::command {
namespace {

TEST(SharedAddressTest, OfARedisIsOneOfItsThreeForms) {
  for (const char* const address :
       {"redis://h", "rediss://h:1/2", "redis+unix:///s", "REDIS://:secret@h", "Rediss://h"})
    EXPECT_TRUE(isShared(address)) << address;
  for (const char* const file : {"", "cache.sqlite", "redis", "/redis://h", "redis:/h", "https://h"})
    EXPECT_FALSE(isShared(file)) << file;
}

TEST(SharedAddressTest, AnAddressIsNoNameOfAFile) {
  EXPECT_TRUE(isAddress("https://h"));
  EXPECT_TRUE(isAddress("redis+tls://h"));
  EXPECT_FALSE(isAddress("C:/cache.sqlite"));
}

}  // namespace
}  // namespace vellora::command
