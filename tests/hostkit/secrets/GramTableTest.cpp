#include "hostkit/secrets/GramTable.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::hostkit {
namespace {

GramTable::Gram gramOf(std::string_view text) {
  GramTable::Gram gram = 0;
  for (const char c : text) gram = GramTable::following(gram, c);
  return gram;
}

TEST(GramTableTest, KnowsEachRunOfSixBytesAndNoOther) {
  GramTable grams(8);
  grams.add("abcdefgh", 1);
  EXPECT_EQ(grams.kindsOf(gramOf("abcdef")), 1);
  EXPECT_EQ(grams.kindsOf(gramOf("cdefgh")), 1);
  EXPECT_EQ(grams.kindsOf(gramOf("defghi")), 0);
  EXPECT_EQ(grams.kindsOf(gramOf("abcde")), 0);
}

TEST(GramTableTest, KeepsTheKindsOfATextApartAndTogether) {
  GramTable grams(20);
  grams.add("abcdef", 1);
  grams.add("abcdef", 4);
  grams.add("uvwxyz", 0x8000);
  EXPECT_EQ(grams.kindsOf(gramOf("abcdef")), 5);
  EXPECT_EQ(grams.kindsOf(gramOf("uvwxyz")), 0x8000);
}

TEST(GramTableTest, ATextShorterThanAGramHasNone) {
  GramTable grams(5);
  grams.add("abcde", 1);
  EXPECT_EQ(grams.kindsOf(gramOf("abcde")), 0);
  EXPECT_EQ(grams.kindsOf(0), 0);
}

TEST(GramTableTest, OnlyTheLastSixBytesMakeAGram) {
  EXPECT_EQ(gramOf("0123456789"), gramOf("456789"));
  EXPECT_EQ(gramOf("\xff\xfe\xfd\xfc\xfb\xfa"), 0xFFFEFDFCFBFAU);
}

TEST(GramTableTest, FindsAllOfAsManyAsItHasRoomFor) {
  std::string text;
  for (unsigned i = 0; i < 3000; ++i) text += std::to_string(i * 7919);
  GramTable grams(text.size());
  grams.add(text, 2);
  std::size_t found = 0;
  for (std::size_t at = 0; at + 6 <= text.size(); ++at) {
    found += grams.kindsOf(gramOf(std::string_view(text).substr(at, 6))) == 2 ? 1 : 0;
  }
  EXPECT_EQ(found, text.size() - 5);
}

}  // namespace
}  // namespace vellora::hostkit
