#include "hostkit/cache/sqlite/SQLiteRowChanges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

#include "hostkit/cache/sqlite/SQLiteResultCodes.h"
#include "tests/hostkit/cache/sqlite/SQLiteRowsFixture.h"

namespace vellora::hostkit::tests {
namespace {

using testing::ElementsAre;

using SQLiteRowChangesTest = SQLiteRowsFixture;

TEST_F(SQLiteRowChangesTest, ANumberIsNotUsedTwice) {
  write("1", {});
  write("2", {});
  const auto before = everyHeader();
  for (const auto& header : before) sqliteRows::remove(*database, header.sequence);
  write("3", {});

  const auto after = everyHeader();
  ASSERT_EQ(after.size(), 1U);
  EXPECT_GT(after[0].sequence, before[1].sequence);
}

TEST_F(SQLiteRowChangesTest, ARemovedRowLeavesNothingInTheIndex) {
  write("1", {{"kind", "item"}, {"name", "a"}});
  sqliteRows::remove(*database, everyHeader().at(0).sequence);
  SQLiteStatement count = database->statement("SELECT count(*) FROM vellora_meta");
  ASSERT_TRUE(count.step());
  EXPECT_EQ(count.integer(SQLiteStatement::onlyColumn), 0);
}

TEST_F(SQLiteRowChangesTest, ARemovedRowIsNotKeptInMemory) {
  write("1", {});
  const std::int64_t sequence = everyHeader().at(0).sequence;
  database->largeRows().keep({sequence, 2, 3}, std::make_shared<StoredRow>());
  sqliteRows::remove(*database, sequence);
  EXPECT_EQ(database->largeRows().find({sequence, 2, 3}), nullptr);
}

TEST_F(SQLiteRowChangesTest, ARowThatIsNotThereWhenItWasWrittenIsDamage) {
  database->run("DROP TABLE vellora_row");
  database->run(
      "CREATE TABLE vellora_row(sequence INTEGER PRIMARY KEY AUTOINCREMENT, table_name UNIQUE ON CONFLICT "
      "IGNORE, data_key, written, checksum, meta, data)");
  write("1", {});
  EXPECT_FALSE(database->failed());
  write("2", {});
  EXPECT_TRUE(meansDamage(database->failure()));
}

TEST_F(SQLiteRowChangesTest, APairThatIsNotThereWhenItWasWrittenIsDamage) {
  database->run("DROP TABLE vellora_meta");
  database->run("CREATE TABLE vellora_meta(sequence, name, value, table_name UNIQUE ON CONFLICT REPLACE)");
  database->run("CREATE INDEX vellora_meta_pair ON vellora_meta(table_name, name, value)");
  write("1", {{"kind", "item"}});
  EXPECT_FALSE(database->failed());
  write("2", {{"kind", "item"}, {"name", "b"}});
  EXPECT_TRUE(meansDamage(database->failure()));
}

TEST_F(SQLiteRowChangesTest, ARowIsWrittenInPlaceOfTheOneWithItsDataKey) {
  write("1", {{"kind", "item"}});
  write("1", {{"kind", "list"}});
  EXPECT_THAT(keys(nullptr), ElementsAre("1"));
  EXPECT_EQ(everyHeader().at(0).row->meta, (CorvaneSDK::Meta{{"kind", "list"}}));
}

TEST_F(SQLiteRowChangesTest, WhatIsTooOldOrTooFarAheadIsRemoved) {
  write("noon", {});
  const auto writtenDaysLater = [this](const std::string& key, double days) {
    const Date date = Date::sinceReferenceDate(noon.secondsSinceReferenceDate() + days * 24 * 3600);
    sqliteRows::write(*database, "Rows", CorvaneSDK::Row{{}, key}, Data("1"), date);
  };
  writtenDaysLater("old", -8);
  writtenDaysLater("ahead", 8);
  writtenDaysLater("near", 6);
  sqliteRows::removeOutside(*database, "Others", live);
  EXPECT_EQ(everyHeader().size(), 4U);
  sqliteRows::removeOutside(*database, "Rows", live);
  EXPECT_EQ(everyHeader().size(), 2U);
  EXPECT_THAT(keys(nullptr), ElementsAre("noon", "near"));
}

}  // namespace
}  // namespace vellora::hostkit::tests
