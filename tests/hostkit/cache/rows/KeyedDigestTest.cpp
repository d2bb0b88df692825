#include "hostkit/cache/rows/KeyedDigest.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::hostkit::tests {
namespace {

TEST(KeyedDigestTest, IsTheStandardsHmac) {
  const std::string expected(
      "\x5b\xdc\xc1\x46\xbf\x60\x75\x4e\x6a\x04\x24\x26\x08\x95\x75\xc7"
      "\x5a\x00\x3f\x08\x9d\x27\x39\x83\x9d\xec\x58\xb9\x64\xec\x38\x43",
      keySize);
  EXPECT_EQ(keyedDigest("Jefe", "what do ya want for nothing?"), expected);
}

TEST(KeyedDigestTest, TakesAnyTextAndKey) {
  EXPECT_EQ(keyedDigest(std::string(keySize, 'k'), "").size(), keySize);
  EXPECT_NE(keyedDigest("k", "a"), keyedDigest("k", "b"));
  EXPECT_NE(keyedDigest("k", "a"), keyedDigest("l", "a"));
  EXPECT_NE(keyedDigest("k", std::string("a\0", 2)), keyedDigest("k", "a"));
}

TEST(KeyedDigestTest, KeysAreNeverTheSame) {
  const std::string key = randomKey();
  EXPECT_EQ(key.size(), keySize);
  EXPECT_NE(key, randomKey());
}

}  // namespace
}  // namespace vellora::hostkit::tests
