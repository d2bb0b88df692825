#include "hostkit/network/ResponseBody.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <optional>
#include <string>

#include "tests/hostkit/network/PackedLetters.h"

namespace vellora::hostkit {
namespace {

const std::string gzip = "gzip";

TEST(ResponseBodyTest, PutsItsPiecesTogether) {
  ResponseBody body(100);
  EXPECT_EQ(body.take("abc", nullptr, 5), std::nullopt);
  EXPECT_EQ(body.take("de", nullptr, 5), std::nullopt);
  EXPECT_TRUE(body.mayEnd());
  EXPECT_EQ(body.size(), 5U);
  EXPECT_EQ(body.release().view(), "abcde");
}

TEST(ResponseBodyTest, WithoutAPieceItIsEmptyAndWhole) {
  ResponseBody body(0);
  EXPECT_TRUE(body.mayEnd());
  EXPECT_EQ(body.release().size(), 0U);
}

TEST(ResponseBodyTest, AByteBeyondItsLimitIsTooMuch) {
  ResponseBody body(5);
  EXPECT_EQ(body.take("abcd", nullptr, 0), std::nullopt);
  EXPECT_EQ(body.take("e", nullptr, 0), std::nullopt);
  EXPECT_EQ(body.take("f", nullptr, 0), CurlNetworkError::Kind::tooLarge);
}

TEST(ResponseBodyTest, AnAnnouncedLengthBeyondAllMemoryIsNotReserved) {
  constexpr std::size_t boundless = std::numeric_limits<std::size_t>::max();
  ResponseBody body(boundless);
  EXPECT_EQ(body.take("half", nullptr, boundless / 2), std::nullopt);
  EXPECT_EQ(body.release().view(), "half");
}

TEST(ResponseBodyTest, UnpacksGzipInAnyCase) {
  for (const std::string& encoding : {gzip, std::string("GZip")}) {
    ResponseBody body(1000);
    EXPECT_EQ(body.take(packedLetters, &encoding, packedLetters.size()), std::nullopt);
    EXPECT_TRUE(body.mayEnd());
    EXPECT_EQ(body.release().view(), unpackedLetters);
  }
}

TEST(ResponseBodyTest, ItsLimitCountsWhatIsUnpacked) {
  ResponseBody body(999);
  EXPECT_EQ(body.take(packedLetters, &gzip, 0), CurlNetworkError::Kind::tooLarge);
}

TEST(ResponseBodyTest, HalfAPackedBodyMayNotEnd) {
  ResponseBody body(1000);
  EXPECT_EQ(body.take(packedLetters.substr(0, 20), &gzip, 0), std::nullopt);
  EXPECT_FALSE(body.mayEnd());
}

TEST(ResponseBodyTest, ABrokenOrUnknownPackingIsNoValidAnswer) {
  const std::string unknown = "br";
  EXPECT_EQ(ResponseBody(1000).take("not gzip", &gzip, 0), CurlNetworkError::Kind::protocol);
  EXPECT_EQ(ResponseBody(1000).take("abc", &unknown, 0), CurlNetworkError::Kind::protocol);
}

TEST(ResponseBodyTest, IdentityIsNoPacking) {
  const std::string identity = "identity";
  ResponseBody body(10);
  EXPECT_EQ(body.take("abc", &identity, 0), std::nullopt);
  EXPECT_EQ(body.release().view(), "abc");
}

TEST(ResponseBodyTest, AnotherAnswerBeginsFromNothing) {
  ResponseBody body(1000);
  EXPECT_EQ(body.take(packedLetters.substr(0, 20), &gzip, 0), std::nullopt);
  body.clear();
  EXPECT_TRUE(body.mayEnd());
  EXPECT_EQ(body.take("plain", nullptr, 0), std::nullopt);
  EXPECT_EQ(body.release().view(), "plain");
}

}  // namespace
}  // namespace vellora::hostkit
