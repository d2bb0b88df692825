#include "apps/vellora/cache/EntryText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>

namespace vellora::command {
namespace {

TEST(EntryTextTest, ASizeIsInBytesThousandsOrMillions) {
  EXPECT_EQ(sizeText(std::nullopt), "-");
  EXPECT_EQ(sizeText(0), "0 B");
  EXPECT_EQ(sizeText(999), "999 B");
  EXPECT_EQ(sizeText(1000), "1.0 kB");
  EXPECT_EQ(sizeText(12'340), "12.3 kB");
  EXPECT_EQ(sizeText(1'000'000), "1.0 MB");
}

TEST(EntryTextTest, AnAgeIsInItsLargestWholeUnitRoundedTowardsZero) {
  EXPECT_EQ(ageText(std::nullopt), "-");
  EXPECT_EQ(ageText(NAN), "-");
  EXPECT_EQ(ageText(std::numeric_limits<double>::infinity()), "-");
  EXPECT_EQ(ageText(59.9), "59 s");
  EXPECT_EQ(ageText(60), "1 min");
  EXPECT_EQ(ageText(7199), "1 h");
  EXPECT_EQ(ageText(3 * 86400 + 5), "3 d");
  EXPECT_EQ(ageText(-90), "-1 min");
}

TEST(EntryTextTest, AMomentOfAFetchIsADateAndEverythingElseAsItIs) {
  CacheListing listing;
  listing.data = Data("8 bytes.");
  EXPECT_EQ(contentText(listing), "8 bytes.");
  listing.fetched = Date::since1970(1'700'000'000.75);
  EXPECT_EQ(contentText(listing), "2023-11-14T22:13:20Z");
  listing.data = Data(R"({"downloadedTime":1})");
  EXPECT_EQ(contentText(listing), R"({"downloadedTime":1})") << "a layout tells its age itself";
  listing.data = Data("8 bytes.");
  listing.kind = CacheListing::Kind::row;
  EXPECT_EQ(contentText(listing), "8 bytes.") << "a row of a list";
}

TEST(EntryTextTest, AMomentThatNoCalendarHasIsANumber) {
  CacheListing listing;
  listing.data = Data("8 bytes.");
  listing.fetched = Date::since1970(-1);
  EXPECT_EQ(contentText(listing), "-1.000000");
}

TEST(EntryTextTest, ContentThatIsJsonIsEmbeddedAndAllElseATextInIt) {
  CacheListing listing;
  const auto json = [&](const std::string& content) {
    listing.data = Data(content);
    return contentJson(listing).text;
  };
  for (const std::string content : {"{\"name\":1}", "\"Account\"", "[]", "null", "17"})
    EXPECT_EQ(json(content), content);
  EXPECT_EQ(json("8 bytes."), "\"8 bytes.\"");
  EXPECT_EQ(json("{\"a\":}"), R"("{\"a\":}")");
  EXPECT_EQ(json("\xEF\xBB\xBF[]"), "\"\xEF\xBB\xBF[]\"") << "a mark that must not stand within a text";
  EXPECT_EQ(json("a\xFF"), R"("a\\xff")");
  EXPECT_EQ(json(""), "\"\"");
}

TEST(EntryTextTest, WhatIsNotUtf8IsWrittenInEscapes) {
  EXPECT_EQ(asText("ä\\"), "ä\\");
  EXPECT_EQ(asText("a\xFF\x01ä"), "a\\xff\x01\\xc3\\xa4");
}

}  // namespace
}  // namespace vellora::command
