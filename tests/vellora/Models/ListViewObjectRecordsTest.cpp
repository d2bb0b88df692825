#include "vellora/Models/ListViewObjectRecords.h"

#include <gtest/gtest.h>

#include "tests/support/DecodingFailure.h"

namespace vellora {
namespace {

TEST(ListViewObjectRecordsTest, ReadsItsRowsInTheServersOrder) {
  const auto decoded = json::decode<ListViewObjectRecords>(
      Data(R"({"count":2,"complete":true,"records":[{"Id":"b","SobjectType":"B"},{"Id":"a"}]})"));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value(), (ListViewObjectRecords{{{"b", "B"}, {"a", std::nullopt}}}));
}

TEST(ListViewObjectRecordsTest, MayBeEmptyButNotWithoutItsRows) {
  const auto decoded = json::decode<ListViewObjectRecords>(Data(R"({"records":[]})"));
  ASSERT_TRUE(decoded);
  EXPECT_TRUE(decoded.value().records.empty());
  EXPECT_EQ(tests::failureOf<ListViewObjectRecords>("{}"), "missing key \"records\" at $");
  EXPECT_EQ(tests::failureOf<ListViewObjectRecords>(R"([{"message":"malformed query"}])"),
            "expected an object at $");
}

TEST(ListViewObjectRecordsTest, FailsAsAWholeForOneBadRow) {
  EXPECT_EQ(tests::failureOf<ListViewObjectRecords>(R"({"records":[{"Id":"a"},{"SobjectType":"B"}]})"),
            "missing key \"Id\" at $.records[1]");
}

TEST(ListViewObjectRecordsTest, WritesItsRowsInTheirOrder) {
  const auto encoded = json::encode(ListViewObjectRecords{{{"b", "B"}, {"a", std::nullopt}}});
  ASSERT_TRUE(encoded);
  EXPECT_EQ(encoded.value().view(), R"({"records":[{"Id":"b","SobjectType":"B"},{"Id":"a"}]})");
}

}  // namespace
}  // namespace vellora
