#include "apps/records-server/Representations.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <string>

namespace vellora::recordsserver {
namespace {

std::string unpacked(const Data& packed) {
  std::string text(100'000, '\0');
  z_stream stream{};
  EXPECT_EQ(inflateInit2(&stream, 16 + MAX_WBITS), Z_OK);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = static_cast<uInt>(packed.size());
  stream.next_out = reinterpret_cast<Bytef*>(text.data());
  stream.avail_out = static_cast<uInt>(text.size());
  EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
  text.resize(stream.total_out);
  inflateEnd(&stream);
  return text;
}

const Data letters(std::string(5000, 'a'));

TEST(RepresentationsTest, TheTagIsThatOfTheBytesAndOfTheForm) {
  Representations made;
  const auto plain = made.of(letters, false);
  EXPECT_EQ(plain.body, letters);
  EXPECT_EQ(plain.tag, made.of(Data(std::string(5000, 'a')), false).tag);
  EXPECT_NE(plain.tag, made.of(Data(std::string(5000, 'b')), false).tag);
  EXPECT_NE(plain.tag, made.of(letters, true).tag);
}

TEST(RepresentationsTest, APackedFormIsThatBodyPacked) {
  const auto packed = Representations().of(letters, true);
  EXPECT_LT(packed.body.size(), 100U);
  EXPECT_EQ(unpacked(packed.body), letters.view());
  EXPECT_EQ(unpacked(Representations().of(Data(), true).body), "");
}

TEST(RepresentationsTest, TheFormsOfABodyAreMadeOnce) {
  Representations made;
  const auto first = made.of(letters, true);
  EXPECT_TRUE(made.of(letters, true).body.sharesBufferWith(first.body));
  for (int other = 0; other < 8; ++other) static_cast<void>(made.of(Data(std::to_string(other)), true));
  EXPECT_FALSE(made.of(letters, true).body.sharesBufferWith(first.body)) << "nobody asks for it any more";
}

TEST(RepresentationsTest, ATagIsFoundAmongOthersHoweverWeak) {
  EXPECT_TRUE(isAmong("\"a\"", "\"a\""));
  EXPECT_TRUE(isAmong("\"a\"", "\"b\", W/\"a\""));
  EXPECT_TRUE(isAmong("\"a\"", "*"));
  EXPECT_FALSE(isAmong("\"a\"", "\"b\",\"ab\""));
  EXPECT_FALSE(isAmong("\"a\"", ""));
}

TEST(RepresentationsTest, GzipIsAcceptedByWhoNamesItAndDoesNotRefuseIt) {
  for (const char* yes : {"gzip", "br, gzip", "gzip;q=0.5", "deflate,gzip ; q=1"}) {
    EXPECT_TRUE(acceptsGzip(yes)) << yes;
  }
  for (const char* no : {"", "br", "gzip;q=0", "gzip; q=0.000", "x-gzip"})
    EXPECT_FALSE(acceptsGzip(no)) << no;
}

}  // namespace
}  // namespace vellora::recordsserver
