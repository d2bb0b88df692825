#include "hostkit/cache/rows/Checksum.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>

namespace vellora::hostkit {
namespace {

TEST(ChecksumTest, IsTheSameForTheSameFields) {
  EXPECT_EQ(Checksum().add("key").add(std::int64_t{7}).value(),
            Checksum().add("key").add(std::int64_t{7}).value());
}

TEST(ChecksumTest, IsTheSameOnEveryMachine) {
  EXPECT_EQ(Checksum().value(), 0);
  EXPECT_EQ(Checksum().add(std::int64_t{1}).value(), 2844319735);
  EXPECT_EQ(Checksum().add("blob").add(std::int64_t{-2}).add(Date::sinceReferenceDate(0.5)).value(),
            2405164764);
}

TEST(ChecksumTest, ChangesWhenBytesMoveBetweenFields) {
  EXPECT_NE(Checksum().add("ab").add("c").value(), Checksum().add("a").add("bc").value());
  EXPECT_NE(Checksum().add("").add("a").value(), Checksum().add("a").add("").value());
  EXPECT_NE(Checksum().add("a").value(), Checksum().add("a").add("").value());
}

TEST(ChecksumTest, ChangesWithEachBitOfANumber) {
  for (int bit = 0; bit < 64; ++bit) {
    const auto number = static_cast<std::int64_t>(std::uint64_t{1} << bit);
    EXPECT_NE(Checksum().add(number).value(), Checksum().add(std::int64_t{0}).value());
  }
}

TEST(ChecksumTest, SeesNulBytes) {
  EXPECT_NE(Checksum().add(std::string_view("\0", 1)).value(),
            Checksum().add(std::string_view("\0\0", 2)).value());
}

}  // namespace
}  // namespace vellora::hostkit
