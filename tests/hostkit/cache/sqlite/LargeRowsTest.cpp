#include "hostkit/cache/sqlite/LargeRows.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::hostkit {
namespace {

std::shared_ptr<const StoredRow> rowOf(std::size_t size) {
  auto row = std::make_shared<StoredRow>();
  row->data = Data(std::string(size, 'x'));
  return row;
}

TEST(LargeRowsTest, FindsARowByEverythingThatIdentifiesIt) {
  LargeRows rows(100);
  const auto row = rowOf(10);
  rows.keep({1, 2, 3}, row);
  EXPECT_EQ(rows.find({1, 2, 3}), row);
  EXPECT_EQ(rows.find({4, 2, 3}), nullptr);
  EXPECT_EQ(rows.find({1, 4, 3}), nullptr);
  EXPECT_EQ(rows.find({1, 2, 4}), nullptr);
}

TEST(LargeRowsTest, LetsGoOfWhatWasAskedForLongestAgo) {
  LargeRows rows(30);
  for (const int sequence : {1, 2, 3}) rows.keep({sequence, 0, 0}, rowOf(10));
  EXPECT_NE(rows.find({1, 0, 0}), nullptr);
  rows.keep({4, 0, 0}, rowOf(10));
  EXPECT_NE(rows.find({1, 0, 0}), nullptr);
  EXPECT_EQ(rows.find({2, 0, 0}), nullptr);
  EXPECT_NE(rows.find({3, 0, 0}), nullptr);
  EXPECT_NE(rows.find({4, 0, 0}), nullptr);
}

TEST(LargeRowsTest, KeepsNoRowThatIsLargerThanAllItMayHold) {
  LargeRows rows(30);
  rows.keep({1, 0, 0}, rowOf(10));
  rows.keep({2, 0, 0}, rowOf(31));
  EXPECT_EQ(rows.find({2, 0, 0}), nullptr);
  EXPECT_NE(rows.find({1, 0, 0}), nullptr);
  rows.keep({3, 0, 0}, rowOf(30));
  EXPECT_NE(rows.find({3, 0, 0}), nullptr);
  EXPECT_EQ(rows.find({1, 0, 0}), nullptr);
}

TEST(LargeRowsTest, WhatIsWrittenOverARowTakesItsPlace) {
  LargeRows rows(30);
  rows.keep({1, 0, 0}, rowOf(10));
  rows.keep({1, 0, 1}, rowOf(10));
  EXPECT_EQ(rows.find({1, 0, 0}), nullptr);
  EXPECT_NE(rows.find({1, 0, 1}), nullptr);
}

TEST(LargeRowsTest, ForgetsADeletedRowAndItsRoom) {
  LargeRows rows(30);
  rows.keep({1, 0, 0}, rowOf(20));
  rows.keep({1, 0, 1}, rowOf(20));
  EXPECT_EQ(rows.find({1, 0, 0}), nullptr);
  EXPECT_NE(rows.find({1, 0, 1}), nullptr);
  rows.forget(1);
  rows.forget(1);
  EXPECT_EQ(rows.find({1, 0, 1}), nullptr);
  rows.keep({2, 0, 0}, rowOf(10));
  rows.keep({3, 0, 0}, rowOf(20));
  EXPECT_NE(rows.find({2, 0, 0}), nullptr);
}

TEST(LargeRowsTest, ForgetsAllOfThemAndTheirRoom) {
  LargeRows rows(30);
  rows.keep({1, 0, 0}, rowOf(10));
  rows.keep({2, 0, 0}, rowOf(20));
  rows.forgetAll();
  EXPECT_EQ(rows.find({1, 0, 0}), nullptr);
  EXPECT_EQ(rows.find({2, 0, 0}), nullptr);
  rows.keep({3, 0, 0}, rowOf(10));
  rows.keep({4, 0, 0}, rowOf(20));
  EXPECT_NE(rows.find({3, 0, 0}), nullptr);
}

}  // namespace
}  // namespace vellora::hostkit
