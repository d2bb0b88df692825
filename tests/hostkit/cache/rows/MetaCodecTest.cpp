#include "hostkit/cache/rows/MetaCodec.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace vellora::hostkit {
namespace {

using CorvaneSDK::Meta;

TEST(MetaCodecTest, WritesLengthAndTextInOrderOfTheKeys) {
  EXPECT_EQ(encodedMeta({{"name", "Account"}, {"kind", "item"}}), "4:kind4:item4:name7:Account");
  EXPECT_EQ(encodedMeta({}), "");
}

TEST(MetaCodecTest, ReadsBackWhatItWrote) {
  const Meta meta{{"", ""}, {std::string("\0:", 2), "1:a"}, {"name", std::string(300, 'x')}};
  EXPECT_EQ(decodedMeta(encodedMeta(meta)), meta);
  EXPECT_EQ(decodedMeta(""), Meta());
}

TEST(MetaCodecTest, RefusesOtherBytes) {
  EXPECT_EQ(decodedMeta("4:name"), std::nullopt);
  EXPECT_EQ(decodedMeta("4:name7:Accoun"), std::nullopt);
  EXPECT_EQ(decodedMeta("4:name7:Account!"), std::nullopt);
  EXPECT_EQ(decodedMeta(":a1:b"), std::nullopt);
  EXPECT_EQ(decodedMeta("1"), std::nullopt);
  EXPECT_EQ(decodedMeta("1a1:b"), std::nullopt);
  EXPECT_EQ(decodedMeta("1xa1:b"), std::nullopt);
  EXPECT_EQ(decodedMeta("-1:a1:b"), std::nullopt);
  EXPECT_EQ(decodedMeta("99999999999999999999999:a1:b"), std::nullopt);
  EXPECT_EQ(decodedMeta("18446744073709551615:a1:b"), std::nullopt);
}

TEST(MetaCodecTest, DerivesDifferentKeysForDifferentMeta) {
  EXPECT_EQ(derivedDataKey({{"kind", "item"}}), "meta:4:kind4:item");
  EXPECT_NE(derivedDataKey({{"a", "b"}, {"c", "d"}}), derivedDataKey({{"a", "b1:c1:d"}}));
}

}  // namespace
}  // namespace vellora::hostkit
