#include "hostkit/cache/sqlite/SQLiteTables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "tests/hostkit/cache/sqlite/SQLiteRowsFixture.h"

namespace vellora::hostkit::tests {
namespace {

using CorvaneSDK::Table;
using testing::ElementsAre;

using SQLiteTablesTest = SQLiteRowsFixture;

TEST_F(SQLiteTablesTest, ATableWithAnUnknownAgeIsNotThere) {
  sqliteTables::write(*database, Table::emptyWithKey("Rows", Table::MaxAge::sevenDays));
  EXPECT_EQ(sqliteTables::maxAge(*database, "Rows"), Table::MaxAge::sevenDays);
  database->run("UPDATE vellora_table SET max_age = 60");
  EXPECT_EQ(sqliteTables::maxAge(*database, "Rows"), std::nullopt);
}

TEST_F(SQLiteTablesTest, ItsKeysAreInOrder) {
  for (const char* const key : {"b", "a"}) {
    sqliteTables::write(*database, Table::emptyWithKey(key, Table::MaxAge::sevenDays));
  }
  EXPECT_THAT(sqliteTables::keys(*database), ElementsAre("a", "b"));
}

TEST_F(SQLiteTablesTest, ADamagedRecordIsNoTableButAKey) {
  sqliteTables::write(*database, Table::emptyWithKey("a", Table::MaxAge::sevenDays));
  database->run("UPDATE vellora_table SET checksum = checksum + 1");
  EXPECT_EQ(sqliteTables::maxAge(*database, "a"), std::nullopt);
  EXPECT_THAT(sqliteTables::keys(*database), ElementsAre("a"));
}

}  // namespace
}  // namespace vellora::hostkit::tests
