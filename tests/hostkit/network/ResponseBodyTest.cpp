#include "hostkit/network/ResponseBody.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "tests/hostkit/network/PackedLetters.h"

namespace vellora::hostkit {
namespace {

const std::string gzip = "gzip";

std::string gzipOf(std::string text) {
  z_stream z{};
  EXPECT_EQ(deflateInit2(&z, Z_BEST_COMPRESSION, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY), Z_OK);
  std::string packed(deflateBound(&z, text.size()), '\0');
  z.next_in = reinterpret_cast<Bytef*>(text.data());
  z.avail_in = static_cast<uInt>(text.size());
  z.next_out = reinterpret_cast<Bytef*>(packed.data());
  z.avail_out = static_cast<uInt>(packed.size());
  EXPECT_EQ(deflate(&z, Z_FINISH), Z_STREAM_END);
  packed.resize(packed.size() - z.avail_out);
  deflateEnd(&z);
  return packed;
}

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

TEST(ResponseBodyTest, UnpacksGzipByBothItsNamesInAnyCase) {
  for (const std::string& encoding :
       {gzip, std::string("GZip"), std::string("x-gzip"), std::string("X-GZIP")}) {
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

TEST(ResponseBodyTest, AValueBeyondItsLimitIsTooMuchHoweverItIsCutAndPacked) {
  ResponseBody body(1000, 5);
  EXPECT_EQ(body.take("[{\"a\":0", nullptr, 0), std::nullopt);
  EXPECT_EQ(body.take(",\"b\":[", nullptr, 0), std::nullopt);
  EXPECT_EQ(body.take("1,", nullptr, 0), std::nullopt);
  EXPECT_EQ(body.take("2,", nullptr, 0), CurlNetworkError::Kind::tooManyValues);

  const std::string packed = gzipOf(std::string(100, ','));
  EXPECT_EQ(ResponseBody(1000, 99).take(packed, &gzip, 0), CurlNetworkError::Kind::tooManyValues);
  EXPECT_EQ(ResponseBody(1000, 100).take(packed, &gzip, 0), std::nullopt);
}

TEST(ResponseBodyTest, APackedBodyOfMoreThanAMebibyteMayUnpackToAHundredTimesItsLength) {
  constexpr std::size_t mebibyte = 1024 * 1024;
  constexpr std::size_t boundless = std::numeric_limits<std::size_t>::max();
  EXPECT_EQ(ResponseBody(boundless).take(gzipOf(std::string(mebibyte, 'x')), &gzip, 0), std::nullopt);
  EXPECT_EQ(ResponseBody(boundless).take(gzipOf(std::string(4 * mebibyte, 'x')), &gzip, 0),
            CurlNetworkError::Kind::tooLarge);
  std::string varied;  // packs to a third
  for (std::size_t i = 0; varied.size() < 4 * mebibyte; ++i) varied += std::to_string(i * i);
  ResponseBody body(boundless);
  EXPECT_EQ(body.take(gzipOf(varied), &gzip, 0), std::nullopt);
  EXPECT_EQ(body.size(), varied.size());
}

// The name of a file within the packing makes it as long as it has to be.
TEST(ResponseBodyTest, APackedBodyMayUnpackToAHundredTimesItsLengthToTheByte) {
  constexpr std::size_t packedSize = 20'000;
  constexpr std::size_t limit = 100 * packedSize + 99;
  const auto faultOf = [&](std::size_t unpackedSize) {
    std::string packed = gzipOf(std::string(unpackedSize, 'x'));
    packed[3] = '\x08';
    packed.insert(10, std::string(packedSize - packed.size() - 1, 'n') + '\0');
    EXPECT_EQ(packed.size(), packedSize);
    return ResponseBody(limit).take(packed, &gzip, 0);
  };
  EXPECT_EQ(faultOf(100 * packedSize), std::nullopt);
  EXPECT_EQ(faultOf(100 * packedSize + 1), CurlNetworkError::Kind::tooLarge);
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

TEST(ResponseBodyTest, IdentityInAnyCaseAndAnEmptyNameAreNoPacking) {
  for (const std::string encoding : {"identity", "Identity", ""}) {
    ResponseBody body(10);
    EXPECT_EQ(body.take("abc", &encoding, 0), std::nullopt);
    EXPECT_EQ(body.release().view(), "abc");
  }
}

TEST(ResponseBodyTest, AnotherAnswerBeginsFromNothing) {
  ResponseBody body(1000);
  EXPECT_EQ(body.take(packedLetters.substr(0, 20), &gzip, 0), std::nullopt);
  body.clear();
  EXPECT_TRUE(body.mayEnd());
  EXPECT_EQ(body.take("plain", nullptr, 0), std::nullopt);
  EXPECT_EQ(body.release().view(), "plain");
}

TEST(ResponseBodyTest, APackedBodyIsKeptAsItCameWhenThatIsAskedFor) {
  ResponseBody body(10'000);
  body.keepPacked(10'000);
  ASSERT_FALSE(body.take(packedLetters.substr(0, 9), &gzip, 0));
  ASSERT_FALSE(body.take(packedLetters.substr(9), &gzip, 0));
  EXPECT_EQ(body.received(), packedLetters.size());
  const Data unpacked = body.release();
  EXPECT_EQ(unpacked.view(), unpackedLetters);
  EXPECT_EQ(body.releaseAsItCame(unpacked), Data(packedLetters));
}

TEST(ResponseBodyTest, NoMoreOfAPackedBodyIsKeptAsItCameThanItMay) {
  for (const std::size_t less : {0U, 1U}) {
    ResponseBody body(10'000);
    body.keepPacked(packedLetters.size() - less);
    for (const char byte : packedLetters) ASSERT_FALSE(body.take({&byte, 1}, &gzip, 0));
    EXPECT_EQ(body.releaseAsItCame(body.release()).has_value(), less == 0);
  }
}

// The name of a file within the packing unpacks to nothing, so no limit on what is unpacked ends it.
TEST(ResponseBodyTest, WhatUnpacksToNothingIsNotKeptWithoutEnd) {
  ResponseBody body(10'000);
  body.keepPacked(100'000);
  ASSERT_FALSE(body.take(std::string_view("\x1f\x8b\x08\x08\0\0\0\0\0\x03", 10), &gzip, 0));
  const std::string name(1000, 'n');
  for (int piece = 0; piece < 1000; ++piece) {
    ASSERT_FALSE(body.take(name, &gzip, 0));
    EXPECT_LE(body.keptAsItCame(), 200'000U);
  }
  EXPECT_EQ(body.received(), 1'000'010U);
  EXPECT_EQ(body.keptAsItCame(), std::string().capacity());
}

TEST(ResponseBodyTest, HowAPackedBodyCameIsNotKnownUnlessThatWasAskedFor) {
  ResponseBody body(10'000);
  ASSERT_FALSE(body.take(packedLetters, &gzip, 0));
  EXPECT_EQ(body.releaseAsItCame(body.release()), std::nullopt);
}

TEST(ResponseBodyTest, APlainBodyCameAsItIs) {
  ResponseBody body(10'000);
  ASSERT_FALSE(body.take("plain", nullptr, 0));
  EXPECT_EQ(body.received(), 5U);
  const Data unpacked = body.release();
  const auto came = body.releaseAsItCame(unpacked);
  ASSERT_TRUE(came);
  EXPECT_TRUE(came->sharesBufferWith(unpacked));
}

TEST(ResponseBodyTest, WhatIsClearedIsNotKeptAsItCame) {
  ResponseBody body(10'000);
  body.keepPacked(10'000);
  ASSERT_FALSE(body.take(packedLetters, &gzip, 0));
  body.clear();
  EXPECT_EQ(body.received(), 0U);
  ASSERT_FALSE(body.take(packedLetters, &gzip, 0));
  EXPECT_EQ(body.received(), packedLetters.size());
  EXPECT_EQ(body.releaseAsItCame(body.release()), std::nullopt);
}

TEST(ResponseBodyTest, NothingOfWhatIsClearedIsInWhatIsKeptNext) {
  ResponseBody body(10'000);
  for (int time = 0; time < 2; ++time) {
    body.clear();
    body.keepPacked(10'000);
    ASSERT_FALSE(body.take(packedLetters, &gzip, 0));
  }
  EXPECT_EQ(body.releaseAsItCame(body.release()), Data(packedLetters));
}

TEST(ResponseBodyTest, TheValuesOfWhatIsClearedDoNotCount) {
  ResponseBody body(1000, 3);
  for (int time = 0; time < 3; ++time) {
    EXPECT_EQ(body.take(",,,", nullptr, 0), std::nullopt);
    body.clear();
  }
}

}  // namespace
}  // namespace vellora::hostkit
