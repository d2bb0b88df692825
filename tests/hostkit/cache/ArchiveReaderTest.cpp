#include "hostkit/cache/ArchiveReader.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "hostkit/cache/ArchiveWriter.h"
#include "tests/hostkit/cache/SampleArchive.h"
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
  EXPECT_EQ(reasonAfter("\"version\":1", "\"version\":2"), Reason::newerVersion);
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
