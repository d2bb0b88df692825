#include "hostkit/network/GzipDecoder.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::hostkit {
namespace {

using Fault = GzipDecoder::Fault;

// gzip of 1,000 letters "a".
const std::string packed(
    "\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\x03\x4b\x4c\x1c\x05\xa3\x60\x14\x0c\x77\x00\x00\x03\xda\x38\x9a\xe8"
    "\x03"
    "\x00\x00",
    29);
const std::string unpacked(1000, 'a');

TEST(GzipDecoderTest, UnpacksABodyThatComesByteByByte) {
  GzipDecoder decoder;
  std::string body;
  for (const char& byte : packed) {
    ASSERT_EQ(decoder.append({&byte, 1}, body, 1000), Fault::none);
    EXPECT_EQ(decoder.isComplete(), &byte == &packed.back());
  }
  EXPECT_EQ(body, unpacked);
}

TEST(GzipDecoderTest, NothingIsCompleteAndHalfIsNot) {
  GzipDecoder decoder;
  std::string body;
  EXPECT_TRUE(decoder.isComplete());
  EXPECT_EQ(decoder.append(packed.substr(0, 28), body, 1000), Fault::none);
  EXPECT_FALSE(decoder.isComplete());
}

TEST(GzipDecoderTest, UnpacksSeveralMembersIntoOneBody) {
  GzipDecoder decoder;
  std::string body;
  EXPECT_EQ(decoder.append(packed + packed, body, 2000), Fault::none);
  EXPECT_TRUE(decoder.isComplete());
  EXPECT_EQ(body, unpacked + unpacked);
}

TEST(GzipDecoderTest, UnpacksMoreThanItsBufferHolds) {
  std::string many;
  for (int i = 0; i < 100; ++i) many += packed;
  GzipDecoder decoder;
  std::string body;
  EXPECT_EQ(decoder.append(many, body, 100'000), Fault::none);
  EXPECT_TRUE(decoder.isComplete());
  EXPECT_EQ(body, std::string(100'000, 'a'));
}

TEST(GzipDecoderTest, StopsAtTheLimit) {
  GzipDecoder decoder;
  std::string body;
  EXPECT_EQ(decoder.append(packed, body, 999), Fault::tooLarge);
  EXPECT_TRUE(body.empty());
}

TEST(GzipDecoderTest, FindsWhatIsNotGzip) {
  std::string body;
  EXPECT_EQ(GzipDecoder().append("{\"plain\": 1}", body, 1000), Fault::corrupt);
  EXPECT_EQ(GzipDecoder().append(packed + "tail", body, 2000), Fault::corrupt);
}

TEST(GzipDecoderTest, FindsAWrongChecksum) {
  std::string wrong = packed;
  wrong[22] = '\x7f';
  std::string body;
  EXPECT_EQ(GzipDecoder().append(wrong, body, 1000), Fault::corrupt);
}

}  // namespace
}  // namespace vellora::hostkit
