#include "hostkit/cache/sqlite/SQLiteRowFormat.h"

#include <gtest/gtest.h>

#include <memory>
#include <string_view>

#include "tests/hostkit/cache/sqlite/SQLiteRowsFixture.h"

namespace vellora::hostkit::tests {
namespace {

using sqliteRowFormat::Head;
using sqliteRowFormat::headChecksum;
using sqliteRowFormat::verifiedRow;

class SQLiteRowFormatTest : public SQLiteRowsFixture {
 protected:
  /// The first row of the table after `sql` has run, read with or without its data.
  std::shared_ptr<const StoredRow> rowAfter(std::string_view sql, bool withData = true) {
    database->run(sql);
    SQLiteStatement found = database->statement(
        withData ? "SELECT sequence, data_key, written, checksum, meta, data FROM vellora_row"
                 : "SELECT sequence, data_key, written, checksum, meta, NULL FROM vellora_row");
    return found.step() ? verifiedRow(*database, found, "Rows") : nullptr;
  }
};

TEST_F(SQLiteRowFormatTest, ASoundRowIsReadWhole) {
  write("1", {{"kind", "item"}});
  const auto row = rowAfter("SELECT 1");
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row->row.dataKey, "1");
  EXPECT_EQ(row->row.meta, (CorvaneSDK::Meta{{"kind", "item"}}));
  EXPECT_EQ(row->written, noon);
  EXPECT_EQ(row->data, Data("data of 1"));
}

TEST_F(SQLiteRowFormatTest, AChangeInAnyColumnIsDamage) {
  for (const char* const change :
       {"UPDATE vellora_row SET sequence = sequence + 1",
        "UPDATE vellora_row SET data_key = CAST('2' AS BLOB)", "UPDATE vellora_row SET written = written + 1",
        "UPDATE vellora_row SET checksum = checksum + 1",
        "UPDATE vellora_row SET meta = CAST('4:kind4:list' AS BLOB)",
        "UPDATE vellora_row SET data = CAST('other' AS BLOB)"}) {
    write("1", {{"kind", "item"}});
    EXPECT_EQ(rowAfter(change), nullptr) << change;
    database->run("DELETE FROM vellora_row");
    database->run("DELETE FROM vellora_meta");
  }
}

TEST_F(SQLiteRowFormatTest, ALargeRowIsReadOnceAndThenKnown) {
  write("1", {});
  const auto first = rowAfter("SELECT 1", false);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->data, Data("data of 1"));
  EXPECT_EQ(rowAfter("SELECT 1", false), first);
  EXPECT_NE(rowAfter("SELECT 1", true), first);
}

TEST_F(SQLiteRowFormatTest, TheChecksumTellsTheTable) {
  const Head head{.sequence = 1, .dataKey = "1", .written = 0, .meta = ""};
  EXPECT_EQ(headChecksum("Rows", head).value(), headChecksum("Rows", head).value());
  EXPECT_NE(headChecksum("Rows", head).value(), headChecksum("Others", head).value());
}

}  // namespace
}  // namespace vellora::hostkit::tests
