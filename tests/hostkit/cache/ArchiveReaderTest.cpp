#include "hostkit/cache/ArchiveReader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>

#include "hostkit/cache/ArchiveWriter.h"
#include "tests/hostkit/cache/SampleArchive.h"
#include "vellora/DataServices/FetchTime.h"
#include "vellora/Platform/Json/DecodingError.h"

namespace vellora::hostkit::tests {
namespace {

using Reason = CacheArchiveError::Reason;

Reason reasonOfRefusal(const std::string& text) {
  const auto archive = readArchive(Data(text));
  if (archive) throw std::logic_error("it was read");
  const auto* error = archive.error().as<CacheArchiveError>();
  if (error == nullptr) throw std::logic_error(archive.error().localizedDescription());
  return error->reason;
}

std::string sampleText() {
  return std::string(writtenArchive(sampleArchive()).value().view());
}

/// Why the sample's text is refused with `to` in place of `from`.
Reason reasonAfter(const std::string& from, const std::string& to) {
  std::string text = sampleText();
  const auto place = text.find(from);
  if (place == std::string::npos) throw std::logic_error(from + " is not in " + text);
  return reasonOfRefusal(text.replace(place, from.size(), to));
}

TEST(ArchiveReaderTest, EveryByteSurvivesTheText) {
  const auto read = readArchive(Data(sampleText()));
  ASSERT_TRUE(read) << read.error().localizedDescription();
  EXPECT_EQ(read.value(), sampleArchive());
}

TEST(ArchiveReaderTest, WhatIsNoJsonIsTheParsersToTell) {
  const std::string text = sampleText();
  const auto half = readArchive(Data(text.substr(0, text.size() - 1)));
  ASSERT_FALSE(half);
  EXPECT_NE(half.error().as<DecodingError>(), nullptr);
}

TEST(ArchiveReaderTest, RefusesWhatIsNoArchive) {
  EXPECT_EQ(reasonOfRefusal("{}"), Reason::otherFormat);
  EXPECT_EQ(reasonOfRefusal("null"), Reason::otherFormat);
  EXPECT_EQ(reasonAfter("vellora-cache", "other"), Reason::otherFormat);
}

TEST(ArchiveReaderTest, RefusesANewerVersion) {
  EXPECT_EQ(reasonAfter("\"version\":1", "\"version\":3"), Reason::newerVersion);
}

TEST(ArchiveReaderTest, RefusesAVersionThatNeverWas) {
  EXPECT_EQ(reasonAfter("\"version\":1", "\"version\":0"), Reason::damaged);
  EXPECT_EQ(reasonAfter("\"version\":1", "\"version\":-1"), Reason::damaged);
}

TEST(ArchiveReaderTest, RefusesAFetchTimeThatIsNoNumber) {
  for (const double none : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    for (const auto key : {sObjectsFetchTimeKey, themesFetchTimeKey}) {
      const CacheArchive archive{.blobs = {{.key = std::string(key), .data = fetchTimeStamp(none)}},
                                 .tables = {}};
      EXPECT_EQ(reasonOfRefusal(std::string(writtenArchive(archive).value().view())), Reason::damaged)
          << none;
    }
  }
}

TEST(ArchiveReaderTest, EveryKeySurvivesTheTextWhateverItsBytes) {
  const std::string bytes("\0\xFF", 2);
  const CacheArchive archive{
      .blobs = {{.key = bytes, .data = Data("1")}},
      .tables = {{.key = bytes,
                  .rows = {{.meta = {{"name", bytes}}, .dataKey = std::nullopt, .data = Data("1")},
                           {.meta = {{bytes, "value"}}, .dataKey = bytes, .data = Data(bytes)},
                           {.meta = {{"name", "x"}}, .dataKey = bytes, .data = Data("2")}}}}};
  const auto read = readArchive(writtenArchive(archive).value());
  ASSERT_TRUE(read) << read.error().localizedDescription();
  EXPECT_EQ(read.value(), archive);
}

TEST(ArchiveReaderTest, RefusesDigitsThatAreNone) {
  const CacheArchive archive{
      .blobs = {{.key = "\xFF", .data = Data("1")}},
      .tables = {{.key = "t", .rows = {{.meta = {{"\xFE", "v"}}, .dataKey = "\xFD", .data = Data("1")}}}}};
  const std::string text(writtenArchive(archive).value().view());
  for (const std::string digits : {"\"ff\"", "\"fd\"", "\"313afe"}) {
    std::string changed = text;
    const auto place = changed.find(digits);
    ASSERT_NE(place, std::string::npos) << digits << " is not in " << text;
    changed[place + 1] = 'g';
    EXPECT_EQ(reasonOfRefusal(changed), Reason::damaged) << digits;
  }
}

TEST(ArchiveReaderTest, RefusesWhatDoesNotFitItsChecksum) {
  EXPECT_EQ(reasonAfter("Account", "Contact"), Reason::damaged);
  EXPECT_EQ(reasonAfter("own key", "other key"), Reason::damaged);
  EXPECT_EQ(reasonAfter("\"key\":\"text\"", "\"key\":\"name\""), Reason::damaged);
  EXPECT_EQ(reasonAfter("\"key\":\"Empty\"", "\"key\":\"Other\""), Reason::damaged);
}

TEST(ArchiveReaderTest, RefusesWhatNoArchiveHolds) {
  EXPECT_EQ(reasonAfter("00ff", "00fg"), Reason::damaged);
  EXPECT_EQ(reasonAfter("00ff", "00f"), Reason::damaged);
  EXPECT_EQ(reasonAfter("\"hex\"", "\"hecks\""), Reason::damaged);
  EXPECT_EQ(reasonAfter("sevenDays", "eightDays"), Reason::damaged);
  EXPECT_EQ(reasonAfter("\"blobs\"", "\"blogs\""), Reason::damaged);
}

}  // namespace
}  // namespace vellora::hostkit::tests
