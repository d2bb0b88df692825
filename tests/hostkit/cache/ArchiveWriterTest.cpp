#include "hostkit/cache/ArchiveWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/hostkit/cache/SampleArchive.h"

namespace vellora::hostkit::tests {
namespace {

using testing::HasSubstr;

TEST(ArchiveWriterTest, TheTextIsJsonThatShowsWhatIsText) {
  const auto text = writtenArchive(sampleArchive()).value();
  EXPECT_THAT(std::string(text.view()),
              testing::StartsWith(R"({"format":"vellora-cache","version":1,"checksum":)"));
  EXPECT_THAT(std::string(text.view()), HasSubstr(R"({"key":"text","data":{"text":"\"ä\\\n"}})"));
  EXPECT_THAT(std::string(text.view()),
              HasSubstr(R"({"meta":{"kind":"two"},"dataKey":"own key","data":{"hex":"00ff220a"}})"));
}

TEST(ArchiveWriterTest, EachEntryIsALineOfItsOwn) {
  const auto text = writtenArchive(sampleArchive()).value();
  EXPECT_EQ(std::count(text.view().begin(), text.view().end(), '\n'), 6);
}

TEST(ArchiveWriterTest, AKeyThatIsNoTextIsWrittenInDigitsUnderTheSecondVersion) {
  const auto text = writtenArchive({.blobs = {{.key = "\xFF", .data = Data("1")}}, .tables = {}}).value();
  EXPECT_THAT(std::string(text.view()), testing::StartsWith(R"({"format":"vellora-cache","version":2,)"));
  EXPECT_THAT(std::string(text.view()), HasSubstr(R"({"key":"","keyHex":"ff","data":{"text":"1"}})"));
}

}  // namespace
}  // namespace vellora::hostkit::tests
