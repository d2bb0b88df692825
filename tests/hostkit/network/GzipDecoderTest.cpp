#include "hostkit/network/GzipDecoder.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/hostkit/network/PackedLetters.h"

namespace vellora::hostkit {
namespace {

using Fault = GzipDecoder::Fault;

TEST(GzipDecoderTest, UnpacksABodyThatComesByteByByte) {
  GzipDecoder decoder;
  std::string body;
  for (const char& byte : packedLetters) {
    ASSERT_EQ(decoder.append({&byte, 1}, body, 1000), Fault::none);
    EXPECT_EQ(decoder.isComplete(), &byte == &packedLetters.back());
  }
  EXPECT_EQ(body, unpackedLetters);
}

TEST(GzipDecoderTest, NothingIsCompleteAndHalfIsNot) {
  GzipDecoder decoder;
  std::string body;
  EXPECT_TRUE(decoder.isComplete());
  EXPECT_EQ(decoder.append(packedLetters.substr(0, 28), body, 1000), Fault::none);
  EXPECT_FALSE(decoder.isComplete());
}

TEST(GzipDecoderTest, UnpacksSeveralMembersIntoOneBody) {
  GzipDecoder decoder;
  std::string body;
  EXPECT_EQ(decoder.append(packedLetters + packedLetters, body, 2000), Fault::none);
  EXPECT_TRUE(decoder.isComplete());
  EXPECT_EQ(body, unpackedLetters + unpackedLetters);
}

TEST(GzipDecoderTest, UnpacksMoreThanItsBufferHolds) {
  std::string many;
  for (int i = 0; i < 100; ++i) many += packedLetters;
  GzipDecoder decoder;
  std::string body;
  EXPECT_EQ(decoder.append(many, body, 100'000), Fault::none);
  EXPECT_TRUE(decoder.isComplete());
  EXPECT_EQ(body, std::string(100'000, 'a'));
}

TEST(GzipDecoderTest, StopsAtTheLimit) {
  GzipDecoder decoder;
  std::string body;
  EXPECT_EQ(decoder.append(packedLetters, body, 999), Fault::tooLarge);
  EXPECT_TRUE(body.empty());
}

TEST(GzipDecoderTest, FindsWhatIsNotGzip) {
  std::string body;
  EXPECT_EQ(GzipDecoder().append("{\"plain\": 1}", body, 1000), Fault::corrupt);
  EXPECT_EQ(GzipDecoder().append(packedLetters + "tail", body, 2000), Fault::corrupt);
}

TEST(GzipDecoderTest, FindsAWrongChecksum) {
  std::string wrong = packedLetters;
  wrong[22] = '\x7f';
  std::string body;
  EXPECT_EQ(GzipDecoder().append(wrong, body, 1000), Fault::corrupt);
}

}  // namespace
}  // namespace vellora::hostkit
