#include "hostkit/network/GzipDecoder.h"

#include <gtest/gtest.h>

#include <cstddef>
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

TEST(GzipDecoderTest, UnpacksSeveralMembersWhereverTheyAreCut) {
  const std::string both = packedLetters + packedLetters;
  for (std::size_t cut = 0; cut <= both.size(); ++cut) {
    GzipDecoder decoder;
    std::string body;
    EXPECT_EQ(decoder.append(both.substr(0, cut), body, 2000), Fault::none);
    EXPECT_EQ(decoder.append(both.substr(cut), body, 2000), Fault::none);
    EXPECT_TRUE(decoder.isComplete());
    EXPECT_EQ(body.size(), 2000U) << cut;
  }
}

TEST(GzipDecoderTest, UnpacksOneByteInFrontOfTheNextMember) {
  GzipDecoder decoder;
  std::string body;
  EXPECT_EQ(decoder.append(packedLetters, body, 2000), Fault::none);
  for (const char& byte : packedLetters) EXPECT_EQ(decoder.append({&byte, 1}, body, 2000), Fault::none);
  EXPECT_EQ(body, unpackedLetters + unpackedLetters);
}

TEST(GzipDecoderTest, NoBytesChangeNothing) {
  GzipDecoder decoder;
  std::string body;
  EXPECT_EQ(decoder.append(packedLetters.substr(0, 20), body, 1000), Fault::none);
  EXPECT_EQ(decoder.append("", body, 1000), Fault::none);
  EXPECT_FALSE(decoder.isComplete());
  EXPECT_EQ(decoder.append(packedLetters.substr(20), body, 1000), Fault::none);
  EXPECT_EQ(decoder.append("", body, 1000), Fault::none);
  EXPECT_TRUE(decoder.isComplete());
}

// A hundred thousand letters "a", packed by Python's `gzip.compress(b"a" * 100_000, mtime=0)`.
TEST(GzipDecoderTest, UnpacksMoreThanItsBufferHoldsOfOneMember) {
  const std::string packed(
      "\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\x03\xed\xc1\x31\x01\x00\x00\x00\xc2\xa0\xac\xeb\x5f\xc2\x1a\x1e"
      "\x40\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00"
      "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00"
      "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00"
      "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\xaf\x06"
      "\x87\xfa\xe2\x1b\xa0\x86\x01\x00",
      133);
  GzipDecoder decoder;
  std::string body;
  EXPECT_EQ(decoder.append(packed, body, 100'000), Fault::none);
  EXPECT_TRUE(decoder.isComplete());
  EXPECT_EQ(body, std::string(100'000, 'a'));
}

TEST(GzipDecoderTest, WhatWasUnpackedBeforeCountsToTheLimit) {
  GzipDecoder decoder;
  std::string body;
  EXPECT_EQ(decoder.append(packedLetters, body, 1999), Fault::none);
  EXPECT_EQ(decoder.append(packedLetters, body, 1999), Fault::tooLarge);
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
