#include "vellora/Platform/Values/Data.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora {
namespace {

TEST(DataTest, EmptyDataHasReadablePadding) {
  const Data data;
  EXPECT_TRUE(data.empty());
  EXPECT_EQ(data.view(), "");
  EXPECT_EQ(std::string(data.data(), Data::padding), std::string(Data::padding, '\0'));
}

TEST(DataTest, KeepsAnyBytesAndPadsThemWithZeros) {
  const std::string bytes(
      "a\0\xff"
      "b",
      4);
  const Data data(bytes);
  EXPECT_EQ(data.view(), bytes);
  EXPECT_EQ(std::string(data.data() + data.size(), Data::padding), std::string(Data::padding, '\0'));
}

TEST(DataTest, NoBytesAreAnEmptyData) {
  const Data none(nullptr, 0);
  EXPECT_EQ(none, Data());
  EXPECT_TRUE(none.sharesBufferWith(Data()));
  EXPECT_EQ(none, Data(std::string()));
}

TEST(DataTest, CopiesShareTheBuffer) {
  const Data data(std::string(100, 'x'));
  const Data copy = data;  // NOLINT(performance-unnecessary-copy-initialization): the copy is what is tested
  EXPECT_TRUE(copy.sharesBufferWith(data));
  EXPECT_EQ(copy.data(), data.data());
}

TEST(DataTest, EqualBytesAreEqualWithoutASharedBuffer) {
  const Data one(std::string("same"));
  const Data other("same", 4);
  EXPECT_FALSE(one.sharesBufferWith(other));
  EXPECT_EQ(one, other);
  EXPECT_FALSE(one == Data(std::string("else")));
}

}  // namespace
}  // namespace vellora
