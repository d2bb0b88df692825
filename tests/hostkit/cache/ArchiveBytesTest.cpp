#include "hostkit/cache/ArchiveBytes.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace vellora::hostkit::tests {
namespace {

TEST(ArchiveBytesTest, TextIsWrittenAsItIs) {
  EXPECT_EQ(writtenBytes(Data("\"ä\\\n")).text, "\"ä\\\n");
  EXPECT_EQ(writtenBytes(Data(std::string())).text, "");
  EXPECT_EQ(writtenBytes(Data("\xEF\xBF\xBD")).text, "\xEF\xBF\xBD") << "the replacement character is text";
}

TEST(ArchiveBytesTest, WhatIsNoTextIsWrittenInDigits) {
  const auto written = writtenBytes(Data(std::string("\0\xFF", 2)));
  EXPECT_EQ(written.text, std::nullopt);
  EXPECT_EQ(written.hex, "00ff");
}

TEST(ArchiveBytesTest, EveryByteSurvives) {
  for (int byte = 0; byte < 256; ++byte) {
    const Data data(std::string(1, static_cast<char>(byte)));
    EXPECT_EQ(readBytes(writtenBytes(data)), data) << byte;
  }
}

TEST(ArchiveBytesTest, WhatWasNotWrittenIsNotRead) {
  EXPECT_EQ(readBytes({.text = std::nullopt, .hex = std::nullopt}), std::nullopt);
  EXPECT_EQ(readBytes({.text = "a", .hex = "61"}), std::nullopt);
  for (const char* const hex : {"0", "0g", "g0", "+1", "0x"}) {
    EXPECT_EQ(readBytes({.text = std::nullopt, .hex = hex}), std::nullopt) << hex;
  }
}

}  // namespace
}  // namespace vellora::hostkit::tests
